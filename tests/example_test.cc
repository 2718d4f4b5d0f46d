// The bundled example package: it loads, and it is stored in exactly the form vorno writes, so a
// round trip through the store changes no byte.
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace vorno::testing {
namespace {

std::string exampleRoot() { return sourceDir() + "/examples/Demo.vorno"; }

std::string fileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(ExamplePackage, RoundTripKeepsEveryByte) {
  FileProjectStore store(exampleRoot());
  Project project = store.load();
  std::string bytes = fileText(store.project().string());
  EXPECT_EQ(FileProjectStore::encode(project), bytes);
  Project again = FileProjectStore::decode(FileProjectStore::encode(project));
  EXPECT_EQ(again, project);
}

TEST(ExamplePackage, HasWhatTheDemoShows) {
  Project project = FileProjectStore(exampleRoot()).load();
  EXPECT_GE(project.slides.size(), 5u);
  EXPECT_GE(project.locales.size(), 2u);
  EXPECT_FALSE(project.spreads.empty());
  EXPECT_FALSE(project.creatives.empty());
}

}  // namespace
}  // namespace vorno::testing
