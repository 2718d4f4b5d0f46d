#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/store/file_project_store.h"
#include "mcp/request_context.h"
#include "mcp/request_task.h"
#include "server/tool_test_support.h"
#include "server/vorno_server.h"

namespace vorno::check_tools_test {
namespace {

namespace fs = std::filesystem;
using testing::ToolHarness;
using testing::ToolResult;

std::string args(const nlohmann::json& arguments) { return arguments.dump(); }

std::vector<nlohmann::json> activity(const std::string& package) {
  std::vector<nlohmann::json> events;
  std::ifstream in(fs::path(package) / ".activity.jsonl");
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) events.push_back(nlohmann::json::parse(line));
  return events;
}

/// Every file under `folder`, relative to it, sorted; the manifest left out.
std::vector<std::string> filesUnder(const fs::path& folder) {
  std::vector<std::string> files;
  std::error_code error;
  for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
    if (it->is_regular_file() && it->path().filename() != ".vorno-export.json")
      files.push_back(it->path().lexically_relative(folder).generic_string());
  std::sort(files.begin(), files.end());
  return files;
}

/// Adds a header creative with a few words to the package.
void addHeader(const std::string& package, const std::string& id) {
  FileProjectStore(package).modify([&](Project& project) {
    Creative creative;
    creative.canvas = StoreTarget::appStoreHeader().id;
    creative.slide.id = id;
    creative.slide.headline.values = {{"en-US", "Summer plans"}};
    project.creatives.push_back(creative);
  });
}

void addVariant(const std::string& package, const std::string& id) {
  FileProjectStore(package).modify([&](Project& project) {
    Variant variant;
    variant.id = id;
    variant.patch = nlohmann::json{{"theme", {{"accent", "#00AA00"}}}};
    project.variants.push_back(variant);
  });
}

// MARK: lint

TEST(LintTool, CleanProjectSaysNoIssues) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  FileProjectStore(package).modify([](Project& project) { project.targets.push_back("ios.iphone-duo"); });
  ToolResult result = harness.call("lint", args({{"project", package}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "No issues.");
  EXPECT_EQ(result.json(1), nlohmann::json::array());
}

TEST(LintTool, UnknownFieldsOfTheFileComeFirstAndErrorsNeverFailTheCall) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  FileProjectStore(package).modify([](Project& project) { project.targets.push_back("ios.nowhere"); });
  const fs::path file = fs::path(package) / "project.json";
  std::ifstream in(file);
  std::stringstream text;
  text << in.rdbuf();
  std::string json = text.str();
  json.insert(json.find('{') + 1, "\n  \"appname\": \"x\",");
  std::ofstream(file) << json;

  ToolResult result = harness.call("lint", args({{"project", package}}));
  ASSERT_FALSE(result.isError) << result.text();
  nlohmann::json issues = result.json(1);
  ASSERT_GE(issues.size(), 2u);
  EXPECT_EQ(result.text(0), std::to_string(issues.size()) + " issue(s).");
  EXPECT_EQ(issues[0]["code"], "schema.unknown");
  EXPECT_FALSE(issues[0].contains("slide"));
  EXPECT_EQ(issues[1]["code"], "target.unknown");
  EXPECT_EQ(issues[1]["severity"], "error");
}

TEST(LintTool, MissingPackageFails) {
  ToolHarness harness;
  ToolResult result = harness.call("lint", std::string(R"({"project": "None.vorno"})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "No project at " + (harness.folder() / "None.vorno").string() +
                               ". Create one with project_create.");
}

// MARK: export

TEST(ExportTool, TargetsIosHeaderExportsOnlyThatCanvas) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  addHeader(package, "summer");
  ToolResult result = harness.call("export", args({{"project", package}, {"targets", {"ios.header"}}}));
  ASSERT_FALSE(result.isError) << result.text();
  const fs::path exports = fs::path(package) / "exports";
  EXPECT_EQ(filesUnder(exports), std::vector<std::string>{"ios/ios.header/en-US/summer.png"});
  nlohmann::json summary = result.json(1);
  EXPECT_EQ(summary["files"], nlohmann::json({(exports / "ios/ios.header/en-US/summer.png").string()}));
  EXPECT_TRUE(result.text(0).starts_with("Wrote 1 files to " + exports.string() + ". ")) << result.text(0);
}

TEST(ExportTool, WritesEverySlideAndCreativeAndSaysWhetherAnythingBlocks) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro", "plan"});
  addHeader(package, "summer");
  ToolResult result = harness.call("export", args({{"project", package}}));
  ASSERT_FALSE(result.isError) << result.text();
  const fs::path exports = fs::path(package) / "exports";
  EXPECT_EQ(filesUnder(exports), (std::vector<std::string>{"ios/ios.header/en-US/summer.png",
                                                          "ios/ios.iphone-6.9/en-US/01-intro.png",
                                                          "ios/ios.iphone-6.9/en-US/02-plan.png"}));
  nlohmann::json summary = result.json(1);
  size_t errors = 0;
  for (const auto& issue : summary["issues"]) errors += issue["severity"] == "error";
  const std::string ending = errors ? std::to_string(errors) + " error(s) to fix before upload." : "No blocking issues.";
  EXPECT_EQ(result.text(0), "Wrote 3 files to " + exports.string() + ". " + ending);
  EXPECT_EQ(summary["directory"], exports.string());
  EXPECT_EQ(summary["removed"], nlohmann::json::array());
}

TEST(ExportTool, ErrorsAreCountedBeforeUpload) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  FileProjectStore(package).modify([](Project& project) { project.targets.push_back("ios.nowhere"); });
  ToolResult result = harness.call("export", args({{"project", package}, {"targets", {"ios.iphone-6.9"}}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_NE(result.text(0).find(". 1 error(s) to fix before upload."), std::string::npos) << result.text(0);
}

TEST(ExportTool, FilesAnEarlierExportWroteAreCountedWhenRemoved) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro", "plan"});
  ASSERT_FALSE(harness.call("export", args({{"project", package}})).isError);
  ASSERT_FALSE(harness.call("slide_delete", args({{"project", package}, {"id", "plan"}})).isError);
  ToolResult result = harness.call("export", args({{"project", package}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_NE(result.text(0).find(". Removed 1 file an earlier export wrote that this one no longer produces. "),
            std::string::npos)
      << result.text(0);
  // Renumbering removes the old names too.
  ASSERT_FALSE(harness.call("slide_upsert", args({{"project", package}, {"slide", {{"id", "first"}, {"headline", "Go"}}},
                                                  {"index", 0}}))
                   .isError);
  ASSERT_FALSE(harness.call("slide_upsert", args({{"project", package}, {"slide", {{"id", "second"}, {"headline", "Go"}}},
                                                  {"index", 0}}))
                   .isError);
  result = harness.call("export", args({{"project", package}}));
  EXPECT_NE(result.text(0).find(". Removed 1 file an"), std::string::npos) << result.text(0);
  ASSERT_FALSE(harness.call("slide_delete", args({{"project", package}, {"id", "second"}})).isError);
  ASSERT_FALSE(harness.call("slide_delete", args({{"project", package}, {"id", "first"}})).isError);
  result = harness.call("export", args({{"project", package}}));
  EXPECT_NE(result.text(0).find(". Removed 3 files an earlier export wrote that this one no longer produces. "),
            std::string::npos)
      << result.text(0);
}

TEST(ExportTool, UnknownLayoutFails) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("export", args({{"project", package}, {"layout", "xcode"}}));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "layout must be vorno or fastlane.");
  EXPECT_FALSE(fs::exists(fs::path(package) / "exports" / ".vorno-export.json"));
}

TEST(ExportTool, FastlaneLayoutWritesTheUploadersFolders) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("export", args({{"project", package}, {"layout", "fastlane"}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(filesUnder(fs::path(package) / "exports"),
            std::vector<std::string>{"fastlane/screenshots/en-US/01_ios.iphone-6.9.png"});
}

TEST(ExportTool, UnknownTargetFailsWithTheKnownIds) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("export", args({{"project", package}, {"targets", {"ios.watch"}}}));
  EXPECT_TRUE(result.isError);
  EXPECT_TRUE(result.text().starts_with("Unknown target ios.watch. Known: ios.iphone-6.9, ")) << result.text();
}

TEST(ExportTool, VariantExportsIntoItsOwnFolder) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  addVariant(package, "green");
  ToolResult result = harness.call("export", args({{"project", package}, {"variant", "green"}, {"locales", {"en-US"}}}));
  ASSERT_FALSE(result.isError) << result.text();
  const fs::path folder = fs::path(package) / "exports" / "variants" / "green";
  EXPECT_TRUE(result.text(0).starts_with("Wrote 1 files to " + folder.string() + ".")) << result.text(0);
  EXPECT_EQ(filesUnder(folder), std::vector<std::string>{"ios/ios.iphone-6.9/en-US/01-intro.png"});
}

TEST(ExportTool, AllVariantsAnswersOneLinePerLookAndCountsLooksThatAreGone) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  addVariant(package, "green");
  ToolResult result = harness.call("export", args({{"project", package}, {"all_variants", true}}));
  ASSERT_FALSE(result.isError) << result.text();
  const fs::path exports = fs::path(package) / "exports";
  EXPECT_EQ(result.text(0), "base: 1 files in " + exports.string() + ", 0 error(s)\ngreen: 1 files in " +
                                (exports / "variants" / "green").string() + ", 0 error(s)");
  nlohmann::json summaries = result.json(1);
  ASSERT_EQ(summaries.size(), 2u);
  EXPECT_EQ(summaries[1]["directory"], (exports / "variants" / "green").string());

  FileProjectStore(package).modify([](Project& project) { project.variants.clear(); });
  result = harness.call("export", args({{"project", package}, {"all_variants", true}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "base: 1 files in " + exports.string() +
                                ", 0 error(s)\nRemoved 1 file from the export folders of looks that are gone.");
  EXPECT_FALSE(fs::exists(exports / "variants" / "green"));
}

/// A request whose client asked for progress, recording what the server sends.
struct ProgressRecorder {
  std::mutex lock;
  std::vector<nlohmann::json> notifications;
  std::shared_ptr<mcp::RequestTask> task = std::make_shared<mcp::RequestTask>(
      mcp::ID(7), "tools/call", [this](const mcp::Value& message) {
        std::lock_guard<std::mutex> guard(lock);
        notifications.push_back(message.toJSON());
      });
  mcp::RequestContext context{task, mcp::Value("export-1")};
};

TEST(ExportTool, ProgressGrowsFileByFileAcrossLooks) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro", "plan"});
  addVariant(package, "green");
  ProgressRecorder recorder;
  mcp::Value params = mcp::Value::Object{
      {"name", "export"}, {"arguments", *mcp::Value::parse(args({{"project", package}, {"all_variants", true}}))}};
  mcp::Value result = VornoServer::callTool(params, harness.context(), &recorder.context);
  ASSERT_FALSE(result.toJSON()["isError"].get<bool>()) << result.toJSON().dump();

  // Two looks of two files: four steps, each further than the one before, out of four.
  ASSERT_EQ(recorder.notifications.size(), 4u);
  double last = 0;
  for (const auto& notification : recorder.notifications) {
    EXPECT_EQ(notification["method"], "notifications/progress");
    const auto& step = notification["params"];
    EXPECT_EQ(step["progressToken"], "export-1");
    EXPECT_GT(step["progress"].get<double>(), last);
    last = step["progress"].get<double>();
    EXPECT_EQ(step["total"].get<double>(), 4.0);
    EXPECT_TRUE(step["message"].get<std::string>().starts_with("Wrote ios/ios.iphone-6.9/en-US/0")) << step;
  }
  EXPECT_EQ(last, 4.0);
}

// MARK: the activity log

TEST(CheckTools, OneCallLogsStartedAndFinishedWithOneIdAndTheSummary) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  ASSERT_FALSE(harness.call("lint", args({{"project", package}})).isError);
  ASSERT_FALSE(harness.call("export", args({{"project", package}})).isError);
  std::vector<nlohmann::json> events = activity(package);
  ASSERT_EQ(events.size(), 4u);
  const std::vector<std::string> summaries{"Checked store rules", "Exported the set"};
  for (size_t call = 0; call < 2; ++call) {
    EXPECT_EQ(events[call * 2]["phase"], "started");
    EXPECT_EQ(events[call * 2 + 1]["phase"], "finished");
    EXPECT_EQ(events[call * 2]["id"], events[call * 2 + 1]["id"]);
    EXPECT_EQ(events[call * 2]["summary"], summaries[call]);
    EXPECT_EQ(events[call * 2 + 1]["summary"], summaries[call]);
  }
  EXPECT_NE(events[0]["id"], events[2]["id"]);
}

}  // namespace
}  // namespace vorno::check_tools_test
