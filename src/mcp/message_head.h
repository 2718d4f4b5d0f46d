// Reading the id of a message from its first bytes only: a line too long to take is refused under
// its id, so the client that sent it learns why instead of waiting for an answer forever.
#pragma once

#include <optional>
#include <string_view>

#include "mcp/id.h"

namespace vorno::mcp {

/// The id of the JSON object that `head` begins, when its `id` member stands whole among these
/// bytes at the top level of the object (clients write it before `params`); none otherwise, or
/// when the id is neither a string nor an integer. Nested objects, arrays and strings are stepped
/// over, so an "id" inside `params` is never taken for the message's.
std::optional<ID> idInMessageHead(std::string_view head);

}  // namespace vorno::mcp
