// A whole file's bytes as a string, for tests that compare what was written. An unreadable or
// missing file reads as "", which the comparison then reports.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace vorno::testing {

inline std::string readText(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace vorno::testing
