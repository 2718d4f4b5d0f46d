// MCP benchmark: `vorno mcp` as a host runs it, a child process on pipes, timed from the moment a
// request line is written to the moment its answer line is read.
//
//   build/mcp_bench
//
// Figures, each the median of its runs after a warm-up:
//   tools/list       the whole list of 24 tools with their schemas
//   render_slide     the example's "week" slide (device with capture, two-line headline) at
//                    1320 x 2868: layout, raster, PNG written to renders/, JPEG preview, answer;
//                    50 calls in a row, with the 95th percentile and the server's minor page
//                    faults per call (fresh pages: what a steady state should not need)
//   project_get      a 200-slide project (the example's slides, repeated), read and answered
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "bench/bench_stats.h"
#include "bench/example_package.h"
#include "tests/mcp_process.h"
#include "tests/temp_folder.h"

namespace fs = std::filesystem;
using namespace vorno;
using Clock = std::chrono::steady_clock;

namespace {

using vorno::bench::median;

struct Timing {
  double median;
  double fastest;
  double slowest;
  double percentile95;
  double faultsPerCall;
  size_t answerBytes;
};

// The process's minor page faults so far (the tenth field of /proc/<pid>/stat).
long minorFaults(pid_t pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string field;
  for (int i = 0; i < 8 && fields >> field; ++i) {
  }
  return std::atol(field.c_str());
}

/// Sends `line` `runs` times (after `warmups` untimed), one at a time, and times each answer.
Timing time(testing::MCPProcess& server, const std::string& line, int warmups, int runs) {
  static int64_t id = 1000;
  std::vector<double> times;
  size_t bytes = 0;
  long faultsBefore = 0;
  for (int i = 0; i < warmups + runs; ++i) {
    if (i == warmups) faultsBefore = minorFaults(server.pid());
    std::string text = line;
    text.replace(text.find("\"id\":0"), 6, "\"id\":" + std::to_string(++id));
    auto start = Clock::now();
    server.sendLine(text);
    mcp::Value answer = server.answerTo(id, std::chrono::seconds(120));
    double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    if (answer.isNull() || !answer.find("result")) {
      std::fprintf(stderr, "mcp_bench: no answer to %s\n", line.substr(0, 120).c_str());
      std::exit(1);
    }
    if (const mcp::Value* isError = answer.find("result")->find("isError"); isError && isError->boolValue() == true) {
      std::fprintf(stderr, "mcp_bench: %s\n", answer.wire().substr(0, 400).c_str());
      std::exit(1);
    }
    if (i >= warmups) times.push_back(ms);
    bytes = answer.wire().size();
  }
  const double faults = double(minorFaults(server.pid()) - faultsBefore) / runs;
  std::vector<double> sorted = times;
  std::sort(sorted.begin(), sorted.end());
  const double p95 = sorted[std::min(sorted.size() - 1, size_t(std::ceil(0.95 * sorted.size())) - 1)];
  return {median(times), sorted.front(), sorted.back(), p95, faults, bytes};
}

void print(const char* what, const Timing& timing) {
  std::printf("%-14s median %8.2f ms   (fastest %.2f, 95th percentile %.2f = %.2f x median, slowest %.2f; "
              "%.0f minor faults a call; answer %zu bytes)\n",
              what, timing.median, timing.fastest, timing.percentile95, timing.percentile95 / timing.median,
              timing.slowest, timing.faultsPerCall, timing.answerBytes);
}

std::string call(const std::string& tool, const nlohmann::json& arguments) {
  return nlohmann::json{{"jsonrpc", "2.0"}, {"id", 0}, {"method", "tools/call"},
                        {"params", {{"name", tool}, {"arguments", arguments}}}}
      .dump();
}

}  // namespace

int main() {
  testing::TempFolder folder("vorno-mcp-bench");
  const fs::path demo = bench::copyExamplePackage(folder.path());
  const fs::path example = fs::path(VORNO_SOURCE_DIR) / "examples/Demo.vorno";

  // 200 slides: the example's seven, repeated under new ids, spreads and variants left out.
  nlohmann::json project = nlohmann::json::parse(std::ifstream(example / "project.json"));
  nlohmann::json slides = nlohmann::json::array();
  for (int i = 0; i < 200; ++i) {
    nlohmann::json slide = project["slides"][i % project["slides"].size()];
    slide["id"] = "slide-" + std::to_string(i + 1);
    slides.push_back(slide);
  }
  project["slides"] = slides;
  project.erase("spreads");
  project.erase("variants");
  const fs::path large = folder.path() / "Large.vorno";
  fs::create_directories(large);
  std::ofstream(large / "project.json") << project.dump(2);

  // VORNO_BENCH_PROGRAM runs another build of vorno, for before-and-after figures in one sitting.
  const char* program = std::getenv("VORNO_BENCH_PROGRAM");
  testing::MCPProcess server(folder.path().string(), "/dev/null", {}, program ? program : VORNO_BINARY);
  server.sendLine(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"bench","version":"1"}}})");
  server.answerTo(1);

  std::printf("vorno mcp, request written to answer read, on this machine (%u cores online)\n",
              std::thread::hardware_concurrency());
  print("tools/list", time(server, R"({"jsonrpc":"2.0","id":0,"method":"tools/list"})", 5, 200));
  print("render_slide",
        time(server, call("render_slide", {{"project", demo.string()}, {"slide", "week"}, {"target", "ios.iphone-6.9"}}),
             3, 50));
  print("project_get", time(server, call("project_get", {{"project", large.string()}}), 3, 30));
  server.closeInput();
  server.waitForExit(std::chrono::seconds(20));
  return 0;
}
