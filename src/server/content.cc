#include "server/content.h"

#include <nlohmann/json.hpp>

#include "kit/util/json_output.h"

namespace vorno {

Content Content::plain(std::string text) {
  Content content;
  content.text = std::move(text);
  return content;
}

Content Content::json(const nlohmann::json& value) {
  std::string text = documentJSON(value);
  if (!text.empty() && text.back() == '\n') text.pop_back();  // an item, not a file
  return plain(std::move(text));
}

Content Content::image(std::string bytes, std::string mimeType) {
  Content content;
  content.kind = Kind::image;
  content.bytes = std::move(bytes);
  content.mimeType = std::move(mimeType);
  return content;
}

mcp::Value Content::toValue() const {
  if (kind == Kind::text) return mcp::Value::Object{{"type", "text"}, {"text", text}};
  return mcp::Value::Object{{"type", "image"}, {"data", mcp::base64Encode(bytes)}, {"mimeType", mimeType}};
}

}  // namespace vorno
