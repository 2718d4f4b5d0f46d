// A project made of creatives alone, for the tests of motion, video and creative tools: one locale
// (en-US), one target, a plain light theme, no slides, and the creatives given as JSON objects
// joined by commas.
#pragma once

#include "kit/model/project.h"
#include "kit/store/file_project_store.h"

#include <string>

namespace vorno::testing {

inline Project projectWithCreatives(const std::string& creatives, const std::string& locales = R"(["en-US"])") {
  return FileProjectStore::decode(
      R"({"schemaVersion": 5, "appName": "A", "locales": )" + locales +
      R"(, "targets": ["ios.iphone-6.9"], "theme": {
          "background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#101010",
          "invertedForeground": "#FFFFFF", "accent": "#FF3300", "muted": "#777777", "headlineWeight": "bold"},
          "slides": [], "creatives": [)" +
      creatives + "]}");
}

}  // namespace vorno::testing
