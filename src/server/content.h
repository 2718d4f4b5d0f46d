// Content: one item of a tool's answer, a text or an image, as the agent's model receives it.
//
//   return {Content::text("Saved intro."), Content::json(issuesJSON)};
//   return {Content::image(jpegBytes, "image/jpeg"), Content::json(out)};
//
// Results never use structured content: every answer is an array of these items, text first
// where there is a sentence to read.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

#include "mcp/value.h"

namespace vorno {

struct Content {
  enum class Kind { text, image };

  Kind kind = Kind::text;
  std::string text;      ///< a text item's words
  std::string bytes;     ///< an image item's encoded bytes (sent as base64)
  std::string mimeType;  ///< an image item's type, e.g. "image/jpeg"

  static Content plain(std::string text);
  /// Any JSON value, pretty-printed with sorted keys and unescaped slashes, as one text item.
  static Content json(const nlohmann::json& value);
  static Content image(std::string bytes, std::string mimeType);

  /// {"text":...,"type":"text"} or {"data":<base64>,"mimeType":...,"type":"image"}.
  mcp::Value toValue() const;
};

}  // namespace vorno
