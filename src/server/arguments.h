// Arguments: a tool call's arguments with the readers every tool shares, and their sentences.
//
//   Arguments arguments(values, "render_slide");
//   std::string slide = arguments.requireString("slide");   // "render_slide: slide is required."
//   int size = arguments.integer("preview_size").value_or(1200);
//   std::optional<Slide> given = arguments.decode<Slide>("slide");   // server/argument_decoding.h
//
// Readers are lenient about kinds the way agents need: an integer reads as a number, a number is
// cut to an integer, elements of a string list that aren't strings are dropped. They are strict
// about meaning: the string "true" is no boolean.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/util/vorno_error.h"
#include "mcp/value.h"

namespace vorno {

using Json = nlohmann::json;

class Arguments {
 public:
  Arguments(mcp::Value::Object values, std::string tool) : values_(std::move(values)), tool_(std::move(tool)) {}

  const mcp::Value::Object& values() const { return values_; }
  /// The tool's name, for messages.
  const std::string& tool() const { return tool_; }

  /// The value under `key`, none when absent.
  const mcp::Value* value(std::string_view key) const;

  std::optional<std::string> string(std::string_view key) const;
  /// The string; absent, not a string or empty fails with "<tool>: <key> is required."
  std::string requireString(std::string_view key) const;
  std::optional<bool> boolean(std::string_view key) const;
  /// An integer as it stands; a number is cut towards zero; anything else none.
  std::optional<int64_t> integer(std::string_view key) const;
  /// A number as it stands; an integer widened; anything else none.
  std::optional<double> number(std::string_view key) const;
  /// The array's strings, others dropped; none if the value is no array.
  std::optional<std::vector<std::string>> strings(std::string_view key) const;
  const mcp::Value::Object* object(std::string_view key) const;
  /// The value as a plain JSON tree (for SchemaCheck); none if absent.
  std::optional<Json> rawJSON(std::string_view key) const;

  /// Reads the value as a document record. None if absent or null; a value the record's reader
  /// refuses fails with "<tool>: <key> is invalid: <summary>". Defined in
  /// server/argument_decoding.h, which brings the JSON library and the record readers.
  template <class T>
  std::optional<T> decode(std::string_view key) const;

 private:
  VornoError invalid(std::string_view key, const std::string& summary) const;

  mcp::Value::Object values_;
  std::string tool_;
};

}  // namespace vorno
