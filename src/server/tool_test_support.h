// Shared by the tool tests: calls tools the way the server does (logged, errors as isError), on
// packages in a temporary folder that is also the server's working directory.
//
//   ToolHarness harness;
//   std::string package = harness.package("App.vorno", {"intro"});
//   auto result = harness.call("slide_delete", {{"project", package}, {"id", "intro"}});
//   EXPECT_FALSE(result.isError);
//   EXPECT_EQ(result.text(0), "Deleted intro. Order: .");
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

#include "kit/model/project.h"
#include "kit/model/slide.h"
#include "kit/model/theme.h"
#include "kit/store/file_project_store.h"
#include "mcp/value.h"
#include "server/tool_context.h"
#include "server/vorno_server.h"
#include "tests/temp_folder.h"

namespace vorno::testing {

struct ToolResult {
  bool isError = false;
  std::vector<mcp::Value> content;

  /// The text of item `index` ("" when it is no text item).
  std::string text(size_t index = 0) const {
    const mcp::Value* text = index < content.size() ? content[index].find("text") : nullptr;
    return text && text->stringValue() ? *text->stringValue() : "";
  }
  /// Item `index`'s text read as JSON.
  nlohmann::json json(size_t index) const { return nlohmann::json::parse(text(index)); }
  bool isImage(size_t index) const {
    const mcp::Value* type = index < content.size() ? content[index].find("type") : nullptr;
    return type && type->stringValue() && *type->stringValue() == "image";
  }
  std::string mimeType(size_t index) const {
    const mcp::Value* type = index < content.size() ? content[index].find("mimeType") : nullptr;
    return type && type->stringValue() ? *type->stringValue() : "";
  }
  /// Item `index`'s image bytes, decoded from base64.
  std::string imageBytes(size_t index) const {
    const mcp::Value* data = index < content.size() ? content[index].find("data") : nullptr;
    if (!data || !data->stringValue()) return "";
    return mcp::base64Decode(*data->stringValue()).value_or("");
  }
};

class ToolHarness {
 public:
  ToolHarness() : folder_("vorno-tools") {
    context_ = ToolContext::current();
    context_.workingDirectory = folder_.path();
  }

  const std::filesystem::path& folder() const { return folder_.path(); }
  ToolContext& context() { return context_; }

  /// Calls `tool` with arguments given as a JSON object's text, through the server's own path.
  ToolResult call(const std::string& tool, const std::string& argumentsJSON) {
    auto arguments = mcp::Value::parse(argumentsJSON);
    if (!arguments) throw std::invalid_argument("arguments are no JSON: " + argumentsJSON);
    return call(tool, *arguments);
  }
  ToolResult call(const std::string& tool, const char* argumentsJSON) { return call(tool, std::string(argumentsJSON)); }
  ToolResult call(const std::string& tool, const mcp::Value& arguments) {
    mcp::Value params = mcp::Value::Object{{"name", tool}, {"arguments", arguments}};
    mcp::Value result = VornoServer::callTool(params, context_, nullptr);
    ToolResult out;
    out.isError = result.find("isError") && result.find("isError")->boolValue().value_or(false);
    if (const mcp::Value* content = result.find("content"); content && content->arrayValue())
      out.content = *content->arrayValue();
    return out;
  }

  /// Writes a package `name` in the folder with slides of those ids (headline "Plan your day"),
  /// locales en-US, targets the 6.9-inch iPhone; returns its absolute path.
  std::string package(const std::string& name = "App.vorno", const std::vector<std::string>& slides = {}) {
    std::vector<Slide> list;
    for (const std::string& id : slides) {
      Slide slide;
      slide.id = id;
      slide.headline.values = {{"en-US", "Plan your day"}};
      list.push_back(slide);
    }
    Project project("App", {"en-US"}, {"ios.iphone-6.9"}, Theme::vorno(), list, {});
    std::filesystem::path root = folder_.path() / name;
    FileProjectStore(root).create(project);
    return root.string();
  }

  Project load(const std::string& package) const { return FileProjectStore(package).load(); }

 private:
  TempFolder folder_;
  ToolContext context_;
};

}  // namespace vorno::testing
