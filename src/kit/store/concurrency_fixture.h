// Test support: a package in a folder of its own, with the user's caches inside that folder so
// that the package's lock file is private to the test, for tests that write one package from
// several threads and processes.
#pragma once

#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace vorno::testing {

// The counter lives in the document itself, so a lost update shows as a short count.
inline void increment(Project& project) {
  project.appName = std::to_string(std::stoi(project.appName) + 1);
  project.locales.push_back("l" + project.appName);
}

class PackageFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = makeTempFolder("vorno-concurrency");
    if (const char* old = std::getenv("XDG_CACHE_HOME")) oldCaches_ = old;
    setenv("XDG_CACHE_HOME", (folder_ / "caches").c_str(), 1);
    root_ = folder_ / "App.vorno";
    Project project;
    project.appName = "0";
    FileProjectStore(root_).create(project);
  }
  void TearDown() override {
    if (oldCaches_) setenv("XDG_CACHE_HOME", oldCaches_->c_str(), 1);
    else unsetenv("XDG_CACHE_HOME");
    std::filesystem::remove_all(folder_);
  }

  // Hidden files beside project.json that a writer left: its temporary files.
  size_t temporaryFiles() const {
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(root_))
      if (entry.path().filename().string().starts_with(".project.json.")) ++count;
    return count;
  }

  std::filesystem::path folder_;
  std::filesystem::path root_;
  std::optional<std::string> oldCaches_;
};

}  // namespace vorno::testing
