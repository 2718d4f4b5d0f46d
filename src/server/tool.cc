#include "server/tool.h"

#include "mcp/request_context.h"

namespace vorno {

mcp::Value ToolAnnotations::toValue() const {
  mcp::Value::Object hints;
  if (readOnlyHint) hints["readOnlyHint"] = *readOnlyHint;
  if (destructiveHint) hints["destructiveHint"] = *destructiveHint;
  if (idempotentHint) hints["idempotentHint"] = *idempotentHint;
  if (openWorldHint) hints["openWorldHint"] = *openWorldHint;
  return hints;
}

void ToolProgress::report(double done, double total, std::string message) {
  if (request_) request_->progress(done, total, std::move(message));
}

bool ToolProgress::isCancelled() const { return request_ && request_->isCancelled(); }

ToolActivity Tool::activity(const Arguments& arguments) const {
  ToolActivity activity{wordsOf(name()), arguments.string("slide"), std::nullopt, std::nullopt};
  if (!activity.slide) activity.slide = arguments.string("id");
  return activity;
}

mcp::Value Tool::definition() const {
  mcp::Value::Object definition{{"name", name()}, {"description", description()}, {"inputSchema", inputSchema()}};
  ToolAnnotations hints = annotations();
  if (!hints.empty()) definition["annotations"] = hints.toValue();
  return definition;
}

std::string Tool::wordsOf(std::string_view name) {
  std::string words;
  bool startOfWord = true;
  for (char c : name) {
    if (c == '_') {
      words += ' ';
      startOfWord = true;
      continue;
    }
    words += startOfWord && c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    startOfWord = false;
  }
  return words;
}

}  // namespace vorno
