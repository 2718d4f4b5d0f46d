// Replays the kept fuzz inputs through their targets, one test per target: the inputs that once
// found a bug (tests/data/fuzz/<name>/) and the seeds (fuzz/seeds/<name>/). An input fails its
// test when the target throws anything (a broken property, or an exception it should have turned
// into a sentence); a crash fails the whole program.
#include "fuzz/fuzz_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Target = int (*)(const uint8_t*, size_t);

std::vector<fs::path> inputsOf(const std::string& name) {
  std::vector<fs::path> inputs;
  for (const fs::path& folder : {fs::path(VORNO_SOURCE_DIR) / "tests/data/fuzz" / name,
                                fs::path(VORNO_SOURCE_DIR) / "fuzz/seeds" / name}) {
    if (!fs::is_directory(folder)) continue;
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.is_regular_file()) inputs.push_back(entry.path());
    }
  }
  std::sort(inputs.begin(), inputs.end());
  return inputs;
}

std::string bytesOf(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void replay(const std::string& name, Target target) {
  std::vector<fs::path> inputs = inputsOf(name);
  ASSERT_FALSE(inputs.empty()) << "no seeds for the " << name << " fuzz target";
  for (const fs::path& input : inputs) {
    std::string bytes = bytesOf(input);
    try {
      EXPECT_EQ(target(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()), 0) << input;
    } catch (const std::exception& failure) {
      ADD_FAILURE() << input << ": " << failure.what();
    }
  }
}

}  // namespace

#define VORNO_FUZZ_TARGET(name)                                          \
  extern "C" int vornoFuzz_##name(const uint8_t* data, size_t size);   \
  TEST(FuzzReplay, name) { replay(#name, vornoFuzz_##name); }
#include "fuzz_targets.inc"
