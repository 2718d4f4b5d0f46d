// MCP benchmark: `vorno mcp` as a host runs it, a child process on pipes, timed from the moment a
// request line is written to the moment its answer line is read.
//
//   build/mcp_bench
//
// Figures, each the median of its runs after a warm-up:
//   tools/list       the whole list of 24 tools with their schemas
//   render_slide     the example's "week" slide (device with capture, two-line headline) at
//                    1320 x 2868: layout, raster, PNG written to renders/, JPEG preview, answer
//   project_get      a 200-slide project (the example's slides, repeated), read and answered
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "bench/bench_stats.h"
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
  size_t answerBytes;
};

/// Sends `line` `runs` times (after `warmups` untimed), one at a time, and times each answer.
Timing time(testing::MCPProcess& server, const std::string& line, int warmups, int runs) {
  static int64_t id = 1000;
  std::vector<double> times;
  size_t bytes = 0;
  for (int i = 0; i < warmups + runs; ++i) {
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
  return {median(times), *std::min_element(times.begin(), times.end()), *std::max_element(times.begin(), times.end()),
          bytes};
}

void print(const char* what, const Timing& timing) {
  std::printf("%-14s median %8.2f ms   (fastest %.2f, slowest %.2f; answer %zu bytes)\n", what, timing.median,
              timing.fastest, timing.slowest, timing.answerBytes);
}

std::string call(const std::string& tool, const nlohmann::json& arguments) {
  return nlohmann::json{{"jsonrpc", "2.0"}, {"id", 0}, {"method", "tools/call"},
                        {"params", {{"name", tool}, {"arguments", arguments}}}}
      .dump();
}

}  // namespace

int main() {
  testing::TempFolder folder("vorno-mcp-bench");
  const fs::path example = fs::path(VORNO_SOURCE_DIR) / "examples/Demo.vorno";
  const fs::path demo = folder.path() / "Demo.vorno";
  fs::create_directories(demo);
  for (const char* part : {"project.json", "captures", "assets"})
    if (fs::exists(example / part)) fs::copy(example / part, demo / part, fs::copy_options::recursive);

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

  testing::MCPProcess server(folder.path().string());
  server.sendLine(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"bench","version":"1"}}})");
  server.answerTo(1);

  std::printf("vorno mcp, request written to answer read, on this machine (%u cores online)\n",
              std::thread::hardware_concurrency());
  print("tools/list", time(server, R"({"jsonrpc":"2.0","id":0,"method":"tools/list"})", 5, 200));
  print("render_slide",
        time(server, call("render_slide", {{"project", demo.string()}, {"slide", "week"}, {"target", "ios.iphone-6.9"}}),
             2, 15));
  print("project_get", time(server, call("project_get", {{"project", large.string()}}), 3, 30));
  server.closeInput();
  server.waitForExit(std::chrono::seconds(20));
  return 0;
}
