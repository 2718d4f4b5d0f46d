// The two ways vorno writes JSON: documents for people and diffs, and one-line wire messages.
//
// Both sort object keys (the tree keeps them sorted), leave "/" unescaped, write non-ASCII text as
// UTF-8 (a byte that is no part of valid UTF-8, as a file name may hold, as U+FFFD), and print a
// double that holds a whole number without a fraction ("angle": 170), other doubles in their
// shortest form that reads back to the same value. So a document written twice
// gives the same bytes, whatever the order in which its fields were set.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace vorno {

using Json = nlohmann::json;

/// Pretty-printed with a two-space indent and one final newline: project.json and friends.
std::string documentJSON(const Json& value);

/// One line, no final newline: JSON-RPC messages and the activity log.
std::string wireJSON(const Json& value);

/// The text of one number as both forms write it.
std::string formatNumber(double value);

}  // namespace vorno
