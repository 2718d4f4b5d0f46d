// Load benchmark: `vorno mcp` under a client that stops reading, and under many clients at once,
// with the server's memory and threads sampled from /proc while it works.
//
//   build/load_bench
//
// (a) A client that stops reading: it writes render_slide and project_get calls as fast as the
//     pipe takes them and reads nothing for VORNO_BENCH_STALL_SECONDS (60 by default), while the
//     server's resident memory and thread count are sampled every 100 ms. Then it reads: every
//     call written must be answered, once.
// (b) 200 calls at once: four servers on one package, as four agents would run them, each sent 50
//     calls in one write, renders and slide upserts mixed. Every call must be answered, every
//     upserted slide must be in project.json afterwards, and each server's memory is sampled.
//
// The program exits with 1 when a call goes unanswered or an upsert is lost.
#include <sys/types.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "bench/example_package.h"
#include "tests/mcp_process.h"
#include "tests/temp_folder.h"

namespace fs = std::filesystem;
using namespace vorno;
using Clock = std::chrono::steady_clock;

namespace {

/// A number from /proc/<pid>/status ("VmRSS:", "Threads:"); VmRSS is in KiB there.
long statusField(pid_t pid, const std::string& field) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field, 0) == 0) return std::atol(line.c_str() + field.size());
  }
  return 0;
}

/// Samples processes' memory and threads every 100 ms until stopped; keeps the peaks.
class Sampler {
 public:
  explicit Sampler(std::vector<pid_t> pids) : pids_(std::move(pids)) {
    thread_ = std::thread([this] {
      while (!stop_) {
        for (pid_t pid : pids_) {
          long rss = statusField(pid, "VmRSS:");
          long threads = statusField(pid, "Threads:");
          std::lock_guard lock(mutex_);
          peakKiB_ = std::max(peakKiB_, rss);
          peakThreads_ = std::max(peakThreads_, threads);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
      }
    });
  }
  ~Sampler() { stop(); }
  void stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }
  double peakMiB() const { return peakKiB_ / 1024.0; }
  long peakThreads() const { return peakThreads_; }

 private:
  std::vector<pid_t> pids_;
  std::atomic<bool> stop_{false};
  std::mutex mutex_;
  long peakKiB_ = 0;
  long peakThreads_ = 0;
  std::thread thread_;
};

std::string call(int64_t id, const std::string& tool, const nlohmann::json& arguments) {
  return nlohmann::json{{"jsonrpc", "2.0"}, {"id", id}, {"method", "tools/call"},
                        {"params", {{"name", tool}, {"arguments", arguments}}}}
      .dump();
}

void initialize(testing::MCPProcess& server) {
  server.sendLine(R"({"jsonrpc":"2.0","id":0,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"bench","version":"1"}}})");
  server.answerTo(0);
}

/// Reads answers until every id in `expected` has one; false (and a word on stderr) when one
/// doesn't come or comes twice.
bool readAnswers(testing::MCPProcess& server, std::set<int64_t> expected, const char* what) {
  std::set<int64_t> answered;
  while (answered.size() < expected.size()) {
    mcp::Value answer = server.readMessage(std::chrono::seconds(300));
    if (answer.isNull()) {
      std::fprintf(stderr, "load_bench: %s: %zu of %zu calls answered\n", what, answered.size(), expected.size());
      return false;
    }
    const mcp::Value* id = answer.find("id");
    if (!id || !id->intValue() || !expected.count(*id->intValue()) || !answered.insert(*id->intValue()).second) {
      std::fprintf(stderr, "load_bench: %s: unexpected answer %s\n", what, answer.wire().substr(0, 200).c_str());
      return false;
    }
  }
  return true;
}

bool stalledClient(const fs::path& folder, const fs::path& demo, const char* program, int seconds) {
  testing::MCPProcess server(folder.string(), "/dev/null", {}, program);
  initialize(server);
  Sampler sampler({server.pid()});
  std::atomic<bool> stop{false};
  std::atomic<int64_t> written{0};
  // The writer blocks once the pipe is full: that is the backpressure being measured.
  std::thread writer([&] {
    for (int64_t id = 1; !stop; ++id) {
      server.sendLine(id % 4 == 0 ? call(id, "project_get", {{"project", demo.string()}})
                                  : call(id, "render_slide", {{"project", demo.string()}, {"slide", "week"}}));
      written = id;
    }
  });
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const long threadsWhileStalled = statusField(server.pid(), "Threads:");
  const double stalledMiB = sampler.peakMiB();
  const int64_t writtenWhileStalled = written;
  stop = true;
  auto drainStart = Clock::now();
  // Reading lets the blocked writer finish its last line; every line written is then answered.
  std::atomic<bool> writerDone{false};
  std::thread joiner([&] {
    writer.join();
    writerDone = true;
  });
  std::set<int64_t> answered;
  bool ok = true;
  auto lastProgress = Clock::now();
  while (!(writerDone && answered.size() == static_cast<size_t>(written.load()))) {
    mcp::Value answer = server.readMessage(std::chrono::seconds(1));
    if (answer.isNull()) {
      if (Clock::now() - lastProgress < std::chrono::seconds(300)) continue;
      std::fprintf(stderr, "load_bench: %zu of %lld calls answered\n", answered.size(),
                   static_cast<long long>(written.load()));
      ok = false;
      break;
    }
    lastProgress = Clock::now();
    const mcp::Value* id = answer.find("id");
    if (!id || !id->intValue() || !answered.insert(*id->intValue()).second) {
      std::fprintf(stderr, "load_bench: unexpected answer %s\n", answer.wire().substr(0, 200).c_str());
      ok = false;
    }
  }
  joiner.join();
  const double drainSeconds = std::chrono::duration<double>(Clock::now() - drainStart).count();
  sampler.stop();
  std::printf("(a) client that reads nothing for %d s: %lld calls taken by the pipe and the server; server "
              "peak %.0f MiB resident while stalled, %ld threads at the end of it (peak %ld); then all %zu "
              "answered in %.1f s (peak %.0f MiB overall)%s\n",
              seconds, static_cast<long long>(writtenWhileStalled), stalledMiB, threadsWhileStalled,
              sampler.peakThreads(), answered.size(), drainSeconds, sampler.peakMiB(), ok ? "" : "  FAILED");
  server.closeInput();
  server.waitForExit(std::chrono::seconds(60));
  return ok;
}

bool manyClients(const fs::path& folder, const fs::path& demo, const char* program) {
  constexpr int kServers = 4, kCallsEach = 50;
  std::vector<std::unique_ptr<testing::MCPProcess>> servers;
  std::vector<pid_t> pids;
  for (int s = 0; s < kServers; ++s) {
    servers.push_back(std::make_unique<testing::MCPProcess>(folder.string(), "/dev/null",
                                                            std::vector<std::string>{}, program));
    initialize(*servers.back());
    pids.push_back(servers.back()->pid());
  }
  Sampler sampler(pids);
  std::vector<std::string> upserted;
  auto start = Clock::now();
  for (int s = 0; s < kServers; ++s) {
    std::string lines;
    for (int i = 1; i <= kCallsEach; ++i) {
      if (i % 2 == 0) {
        std::string id = "load-" + std::to_string(s) + "-" + std::to_string(i);
        upserted.push_back(id);
        lines += call(i, "slide_upsert", {{"project", demo.string()}, {"slide", {{"id", id}, {"headline", "Load " + id}}}});
      } else {
        lines += call(i, "render_slide", {{"project", demo.string()}, {"slide", i % 4 == 1 ? "week" : "home"}});
      }
      lines += "\n";
    }
    servers[s]->write(lines);
  }
  std::set<int64_t> ids;
  for (int i = 1; i <= kCallsEach; ++i) ids.insert(i);
  std::atomic<bool> ok{true};
  std::vector<std::thread> readers;
  for (int s = 0; s < kServers; ++s) {
    readers.emplace_back([&, s] {
      if (!readAnswers(*servers[s], ids, "many clients")) ok = false;
    });
  }
  for (auto& reader : readers) reader.join();
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  sampler.stop();
  nlohmann::json project = nlohmann::json::parse(std::ifstream(demo / "project.json"));
  std::set<std::string> present;
  for (const auto& slide : project["slides"]) present.insert(slide["id"].get<std::string>());
  size_t lost = 0;
  for (const std::string& id : upserted) lost += present.count(id) ? 0 : 1;
  std::printf("(b) %d calls at once from %d clients on one package (%zu upserts, the rest renders): all answered "
              "in %.1f s: %s; upserts lost: %zu; peak %.0f MiB resident in one server, %ld threads\n",
              kServers * kCallsEach, kServers, upserted.size(), seconds, ok ? "yes" : "NO", lost, sampler.peakMiB(),
              sampler.peakThreads());
  for (auto& server : servers) {
    server->closeInput();
    server->waitForExit(std::chrono::seconds(60));
  }
  return ok && lost == 0;
}

}  // namespace

int main() {
  testing::TempFolder folder("vorno-load-bench");
  const fs::path demo = bench::copyExamplePackage(folder.path());
  // VORNO_BENCH_PROGRAM runs another build of vorno, for before-and-after figures in one sitting.
  const char* program = std::getenv("VORNO_BENCH_PROGRAM");
  const char* stall = std::getenv("VORNO_BENCH_STALL_SECONDS");
  const int seconds = stall ? std::max(1, std::atoi(stall)) : 60;
  std::printf("vorno mcp under load, on this machine (%u cores online)\n", std::thread::hardware_concurrency());
  bool ok = stalledClient(folder.path(), demo, program ? program : VORNO_BINARY, seconds);
  ok = manyClients(folder.path(), demo, program ? program : VORNO_BINARY) && ok;
  return ok ? 0 : 1;
}
