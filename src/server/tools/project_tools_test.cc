#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "kit/model/store_target.h"
#include "server/tool_test_support.h"
#include "server/vorno_server.h"
#include "tests/read_text.h"

namespace vorno::project_tools_test {
namespace {

namespace fs = std::filesystem;
using testing::ToolHarness;
using testing::ToolResult;

void write(const fs::path& path, const std::string& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

std::vector<nlohmann::json> activity(const std::string& package) {
  std::vector<nlohmann::json> events;
  std::ifstream in(fs::path(package) / ".activity.jsonl");
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) events.push_back(nlohmann::json::parse(line));
  return events;
}

std::string args(const nlohmann::json& arguments) { return arguments.dump(); }

/// HOME pointed at a folder for one test, so that "~" lands somewhere the test owns.
class HomeFolder {
 public:
  explicit HomeFolder(const fs::path& home) {
    if (const char* old = std::getenv("HOME")) old_ = old;
    ::setenv("HOME", home.c_str(), 1);
  }
  ~HomeFolder() {
    if (old_)
      ::setenv("HOME", old_->c_str(), 1);
    else
      ::unsetenv("HOME");
  }

 private:
  std::optional<std::string> old_;
};

bool hasCode(const nlohmann::json& issues, const std::string& code) {
  for (const auto& issue : issues)
    if (issue["code"] == code) return true;
  return false;
}

// MARK: project_create

TEST(ProjectCreateTool, EmptyLocalesGiveEnUS) {
  ToolHarness harness;
  ToolResult result = harness.call("project_create", std::string(R"({"project": "App.vorno", "app_name": "Tide", "locales": []})"));
  ASSERT_FALSE(result.isError) << result.text();
  Project project = harness.load((harness.folder() / "App.vorno").string());
  EXPECT_EQ(project.locales, std::vector<std::string>{"en-US"});
  EXPECT_EQ(project.targets, std::vector<std::string>{"ios.iphone-6.9"});
  EXPECT_EQ(project.appName, "Tide");
  EXPECT_EQ(project.theme, Theme::vorno());
}

TEST(ProjectCreateTool, GivenLocalesTargetsAndThemeReplaceTheDefaults) {
  ToolHarness harness;
  ToolResult result = harness.call("project_create", args({{"project", "App.vorno"},
                                                           {"app_name", "Tide"},
                                                           {"locales", {"en-US", "de-DE"}},
                                                           {"targets", {"ios.ipad-13"}},
                                                           {"theme",
                                                            {{"background", "#000000"},
                                                             {"invertedBackground", "#FFFFFF"},
                                                             {"foreground", "#FFFFFF"},
                                                             {"invertedForeground", "#000000"},
                                                             {"accent", "#FF0000"},
                                                             {"muted", "#888888"},
                                                             {"headlineWeight", "bold"}}}}));
  ASSERT_FALSE(result.isError) << result.text();
  Project project = harness.load((harness.folder() / "App.vorno").string());
  EXPECT_EQ(project.locales, (std::vector<std::string>{"en-US", "de-DE"}));
  EXPECT_EQ(project.targets, std::vector<std::string>{"ios.ipad-13"});
  EXPECT_EQ(project.theme.headlineWeight, FontWeight::bold);
  EXPECT_FALSE(project.theme.fontFamily.has_value());
  EXPECT_TRUE(fs::exists(harness.folder() / "App.vorno" / ".gitignore"));
  // A new project has no slides: that one issue is left out, the rest of the lint stays.
  nlohmann::json issues = result.json(1);
  EXPECT_FALSE(hasCode(issues, "slides.empty"));
}

TEST(ProjectCreateTool, RelativePathInRootWorkingDirectoryFailsAndTildePathWorks) {
  ToolHarness harness;
  harness.context().workingDirectory = "/";
  ToolResult relative = harness.call("project_create", std::string(R"({"project": "store/Tide.vorno", "app_name": "Tide"})"));
  EXPECT_TRUE(relative.isError);
  EXPECT_EQ(relative.text(),
            "Pass an absolute path, e.g. <repo>/store/Tide.vorno: this server's working directory is /, so a relative "
            "path wouldn't land in the app's repo.");
  EXPECT_FALSE(fs::exists("/store/Tide.vorno"));

  HomeFolder home(harness.folder());
  ToolResult tilde = harness.call("project_create", std::string(R"({"project": "~/x/App.vorno", "app_name": "Tide"})"));
  ASSERT_FALSE(tilde.isError) << tilde.text();
  EXPECT_TRUE(fs::exists(harness.folder() / "x" / "App.vorno" / "project.json"));
  EXPECT_TRUE(tilde.text().starts_with("Created " + (harness.folder() / "x" / "App.vorno").string() + ".\n"))
      << tilde.text();
}

TEST(ProjectCreateTool, UppercaseVornoExtensionPassesTheCheck) {
  ToolHarness harness;
  ToolResult result = harness.call("project_create", std::string(R"({"project": "Tide.VORNO", "app_name": "Tide"})"));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_TRUE(fs::exists(harness.folder() / "Tide.VORNO" / "project.json"));
}

TEST(ProjectCreateTool, PathWithoutVornoExtensionFailsBeforeAnythingIsWritten) {
  ToolHarness harness;
  harness.context().workingDirectory = "/";  // the extension is checked before the location
  ToolResult result = harness.call("project_create", std::string(R"({"project": "store/Tide", "app_name": "Tide"})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "project must be a .vorno package path inside the app's repo, e.g. <repo>/store/Tide.vorno.");
}

// How a person follows the agent's work on this platform: the overview command and the log.
std::string watchSentence(const std::string& root) {
  return "A person can watch every change: vorno overview -p \"" + root +
         "\" draws the slides side by side, and .activity.jsonl in the package logs every tool call. Then add slides "
         "with slide_upsert.";
}

TEST(ProjectCreateTool, SentenceSaysHowAPersonWatchesFromThisMachine) {
  ToolHarness harness;
  const std::string root = (harness.folder() / "Watch.vorno").string();
  ToolResult result = harness.call("project_create", args({{"project", root}, {"app_name", "Tide"}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_NE(result.text().find("vorno overview -p \"" + root + "\""), std::string::npos) << result.text();
  EXPECT_NE(result.text().find(".activity.jsonl"), std::string::npos);
  EXPECT_EQ(result.text().find("open -a"), std::string::npos);
}

TEST(ProjectCreateTool, PackageOutsideAnyRepositoryGetsTheGitSentenceAndOneInsideDoesNot) {
  ToolHarness harness;
  const std::string outside = (harness.folder() / "Out.vorno").string();
  ToolResult lone = harness.call("project_create", args({{"project", outside}, {"app_name", "Tide"}}));
  ASSERT_FALSE(lone.isError) << lone.text();
  EXPECT_EQ(lone.text(),
            "Created " + outside +
                ".\nIt isn't inside a git repository; if that's not the app's repo, delete it and create it there with "
                "an absolute path.\n" + watchSentence(outside));

  // A repository two folders up counts; so does a .git file (a worktree's).
  write(harness.folder() / "repo" / ".git", "gitdir: /elsewhere\n");
  const std::string inside = (harness.folder() / "repo" / "store" / "In.vorno").string();
  ToolResult held = harness.call("project_create", args({{"project", inside}, {"app_name", "Tide"}}));
  ASSERT_FALSE(held.isError) << held.text();
  EXPECT_EQ(held.text(), "Created " + inside + ".\n" + watchSentence(inside));
}

TEST(ProjectCreateTool, WorkingDirectoryIsNamedOnlyForARelativePath) {
  ToolHarness harness;
  ToolResult relative = harness.call("project_create", std::string(R"({"project": "Rel.vorno", "app_name": "Tide"})"));
  ASSERT_FALSE(relative.isError) << relative.text();
  EXPECT_NE(relative.text().find("It isn't inside a git repository (the relative path resolved against " +
                                 harness.folder().string() + "); if that's not the app's repo"),
            std::string::npos)
      << relative.text();

  ToolResult absolute =
      harness.call("project_create", args({{"project", (harness.folder() / "Abs.vorno").string()}, {"app_name", "Tide"}}));
  ASSERT_FALSE(absolute.isError) << absolute.text();
  EXPECT_NE(absolute.text().find("It isn't inside a git repository;"), std::string::npos) << absolute.text();
  EXPECT_EQ(absolute.text().find("resolved against"), std::string::npos) << absolute.text();
}

TEST(ProjectCreateTool, ExistingPackageFailsWithTheStoresSentence) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("project_create", args({{"project", package}, {"app_name", "Tide"}}));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "A project already exists at " + package + ".");
  EXPECT_EQ(harness.load(package).slides.size(), 1u);
}

TEST(ProjectCreateTool, BadLocaleFailsWithTheFileNameSentence) {
  ToolHarness harness;
  ToolResult result = harness.call("project_create", std::string(R"({"project": "App.vorno", "app_name": "Tide", "locales": ["../de"]})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(),
            "Locale \"../de\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).");
  EXPECT_FALSE(fs::exists(harness.folder() / "App.vorno"));
}

TEST(ProjectCreateTool, MissingAppNameIsRequired) {
  ToolHarness harness;
  ToolResult result = harness.call("project_create", std::string(R"({"project": "App.vorno"})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "project_create: app_name is required.");
}

TEST(ProjectCreateTool, DescriptionsNameEveryKnownTargetAndShareTheTheme) {
  mcp::Value list = VornoServer::listTools();
  nlohmann::json tools = list.toJSON()["tools"];
  nlohmann::json create, update;
  for (const auto& tool : tools) {
    if (tool["name"] == "project_create") create = tool;
    if (tool["name"] == "project_update") update = tool;
  }
  ASSERT_FALSE(create.is_null());
  ASSERT_FALSE(update.is_null());
  std::string known;
  for (const StoreTarget& target : StoreTarget::all()) known += (known.empty() ? "" : ", ") + target.id;
  EXPECT_EQ(create["inputSchema"]["properties"]["targets"]["description"],
            "Target ids. Default [\"ios.iphone-6.9\"]. Known: " + known);
  EXPECT_EQ(update["inputSchema"]["properties"]["targets"]["description"], "Target ids. Known: " + known);
  EXPECT_EQ(create["inputSchema"]["properties"]["theme"], update["inputSchema"]["properties"]["theme"]);
  EXPECT_TRUE(create["inputSchema"]["properties"]["theme"]["description"].get<std::string>().starts_with(
      "Theme: {\"background\": \"#EEF0F3\" | {\"linear\": [...], \"angle\": 180}"));
  EXPECT_EQ(create["inputSchema"]["required"], nlohmann::json({"project", "app_name"}));
  EXPECT_EQ(update["inputSchema"]["required"], nlohmann::json({"project"}));
}

// MARK: project_get

TEST(ProjectGetTool, AnswersTheDocumentWithImageCapturesAndVisibleAssets) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  const fs::path root(package);
  write(root / "captures" / "en-US" / "home.png", "png");
  write(root / "captures" / "de-DE" / "Home.JPG", "jpg");
  write(root / "captures" / "en-US" / "flow.mov", "mov");
  write(root / "captures" / "notes.txt", "txt");
  write(root / "assets" / "logo.svg", "svg");
  write(root / "assets" / ".DS_Store", "");
  fs::create_directories(root / "assets" / "frames");

  ToolResult result = harness.call("project_get", args({{"project", package}}));
  ASSERT_FALSE(result.isError) << result.text();
  nlohmann::json out = result.json(0);
  EXPECT_EQ(out["root"], package);
  EXPECT_EQ(out["captures"], nlohmann::json({"captures/de-DE/Home.JPG", "captures/en-US/home.png"}));
  EXPECT_EQ(out["assets"], nlohmann::json({"assets/frames", "assets/logo.svg"}));
  EXPECT_EQ(out["project"]["appName"], "App");
  EXPECT_EQ(out["project"]["slides"][0]["id"], "intro");
}

TEST(ProjectGetTool, MissingFoldersGiveEmptyLists) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {});
  fs::remove_all(fs::path(package) / "captures");
  ToolResult result = harness.call("project_get", args({{"project", package}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.json(0)["captures"], nlohmann::json::array());
  EXPECT_EQ(result.json(0)["assets"], nlohmann::json::array());
}

TEST(ProjectGetTool, MissingPackageFailsWithTheStoresSentence) {
  ToolHarness harness;
  ToolResult result = harness.call("project_get", std::string(R"({"project": "None.vorno"})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(), "No project at " + (harness.folder() / "None.vorno").string() +
                               ". Create one with project_create.");
}

// MARK: project_update

TEST(ProjectUpdateTool, OnlyProjectAnswersSavedAndRewritesNothing) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  const fs::path file = fs::path(package) / "project.json";
  // An unknown key survives only as long as nothing rewrites the file.
  std::string before = testing::readText(file);
  before.insert(before.find('{') + 1, "\n  \"zzz\": 1,");
  write(file, before);
  const auto modified = fs::last_write_time(file);

  ToolResult result = harness.call("project_update", args({{"project", package}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved.");
  EXPECT_TRUE(result.json(1).is_array());
  EXPECT_EQ(testing::readText(file), before);
  EXPECT_EQ(fs::last_write_time(file), modified);
}

TEST(ProjectUpdateTool, GivenFieldsChangeAndEmptyArraysChangeNothing) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call(
      "project_update",
      args({{"project", package}, {"app_name", "Tide"}, {"locales", nlohmann::json::array()}, {"targets", {"play.phone"}}}));
  ASSERT_FALSE(result.isError) << result.text();
  Project project = harness.load(package);
  EXPECT_EQ(project.appName, "Tide");
  EXPECT_EQ(project.locales, std::vector<std::string>{"en-US"});
  EXPECT_EQ(project.targets, std::vector<std::string>{"play.phone"});
  // The lint is of what this call wrote: one slide on the Play phone slot is too few.
  EXPECT_TRUE(hasCode(result.json(1), "count.min")) << result.text(1);
}

TEST(ProjectUpdateTool, ThemeReplacesTheWholeThemeAndReportsUnknownFieldsFirst) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  FileProjectStore(package).modify([](Project& project) { project.theme.fontFamily = "Archivo"; });
  ToolResult result = harness.call("project_update", args({{"project", package},
                                                           {"theme",
                                                            {{"background", "#000000"},
                                                             {"invertedBackground", "#FFFFFF"},
                                                             {"foreground", "#FFFFFF"},
                                                             {"invertedForeground", "#000000"},
                                                             {"accent", "#FF0000"},
                                                             {"muted", "#888888"},
                                                             {"headlineWeight", "bold"},
                                                             {"fontColor", "#FFFFFF"}}}}));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved. 1 field was ignored (schema.unknown): fix it first.");
  nlohmann::json issues = result.json(1);
  ASSERT_FALSE(issues.empty());
  EXPECT_EQ(issues[0]["code"], "schema.unknown");
  EXPECT_FALSE(issues[0].contains("slide"));
  Project project = harness.load(package);
  EXPECT_FALSE(project.theme.fontFamily.has_value());
  EXPECT_EQ(project.theme.headlineWeight, FontWeight::bold);
}

TEST(ProjectUpdateTool, BadLocaleFailsAndLeavesTheFileAlone) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  const std::string before = testing::readText(fs::path(package) / "project.json");
  ToolResult result = harness.call("project_update", args({{"project", package}, {"locales", {"en-US", ".hidden"}}}));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(),
            "Locale \".hidden\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).");
  EXPECT_EQ(testing::readText(fs::path(package) / "project.json"), before);
}

TEST(ProjectUpdateTool, ActivityNamesTheChangedSettingsInWords) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  harness.call("project_update", args({{"project", package}, {"locales", {"en-US"}}, {"app_name", "Tide"}}));
  harness.call("project_update", args({{"project", package}}));
  harness.call("project_update",
               args({{"project", package}, {"targets", {"ios.iphone-6.9"}}, {"theme", nullptr}, {"locales", {"en-US"}}}));
  std::vector<nlohmann::json> events = activity(package);
  ASSERT_EQ(events.size(), 6u);
  EXPECT_EQ(events[0]["summary"], "Changed the languages, name");
  EXPECT_EQ(events[2]["summary"], "Changed project settings");
  EXPECT_EQ(events[4]["summary"], "Changed the devices, languages, style");
}

// MARK: the activity log

TEST(ProjectTools, OneCallLogsStartedAndFinishedWithOneIdAndTheSummary) {
  ToolHarness harness;
  const std::string package = harness.package("App.vorno", {"intro"});
  ToolResult result = harness.call("project_get", args({{"project", package}}));
  ASSERT_FALSE(result.isError) << result.text();
  std::vector<nlohmann::json> events = activity(package);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["phase"], "started");
  EXPECT_EQ(events[1]["phase"], "finished");
  EXPECT_EQ(events[0]["id"], events[1]["id"]);
  EXPECT_EQ(events[0]["tool"], "project_get");
  EXPECT_EQ(events[0]["summary"], "Read the project");
  EXPECT_EQ(events[1]["summary"], "Read the project");
}

TEST(ProjectTools, CreateLogsItsFinishInTheNewPackage) {
  // The log never makes a folder, so the start of a call that creates the package has nowhere to
  // go; its finish lands in the new package.
  ToolHarness harness;
  ToolResult result = harness.call("project_create", std::string(R"({"project": "App.vorno", "app_name": "Tide"})"));
  ASSERT_FALSE(result.isError) << result.text();
  std::vector<nlohmann::json> events = activity((harness.folder() / "App.vorno").string());
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0]["phase"], "finished");
  EXPECT_EQ(events[0]["tool"], "project_create");
  EXPECT_EQ(events[0]["summary"], "Created the project");
}

}  // namespace
}  // namespace vorno::project_tools_test
