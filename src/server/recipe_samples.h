// Test support: the JSON samples of a Markdown guide, each with the section it stands in.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace vorno::testing {

struct Sample {
  std::string section;
  std::string text;
};

// The fenced ```json blocks, each with the heading of the section it stands in.
inline std::vector<Sample> jsonSamples(const std::string& markdown) {
  std::vector<Sample> samples;
  std::istringstream lines(markdown);
  std::string line, section, block;
  bool inside = false;
  while (std::getline(lines, line)) {
    if (inside) {
      if (line == "```") {
        samples.push_back({section, block});
        inside = false;
      } else {
        block += line + "\n";
      }
    } else if (line.rfind("## ", 0) == 0) {
      section = line.substr(3);
    } else if (line == "```json") {
      inside = true;
      block.clear();
    }
  }
  return samples;
}

}  // namespace vorno::testing
