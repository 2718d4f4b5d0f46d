// Arguments::decode, apart from arguments.h: it needs the whole JSON library and the document's
// readers, which most tools never use.
#pragma once

#include "kit/model/coding.h"
#include "server/arguments.h"

#include <nlohmann/json.hpp>

namespace vorno {

template <class T>
std::optional<T> Arguments::decode(std::string_view key) const {
  std::optional<Json> json = rawJSON(key);
  if (!json || json->is_null()) return std::nullopt;
  try {
    return Reader(*json).decode<T>();
  } catch (const DecodingError& error) {
    throw invalid(key, error.summary());
  }
}

}  // namespace vorno
