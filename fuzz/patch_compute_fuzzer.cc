// Computes the patch between two arbitrary documents, as a look is saved from an edited project.
// The input is the two documents, cut at the first NUL. There is no patch exactly when they are
// equal, and laying the patch over the first gives the second (when it holds no nulls, which a
// patch can only say as removals).
#include "fuzz/fuzz_support.h"
#include "kit/model/coding.h"
#include "kit/model/json_value.h"

#include <nlohmann/json.hpp>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

namespace {

bool holdsNull(const Json& value) {
  if (value.is_null()) return true;
  if (value.is_object() || value.is_array()) {
    for (const Json& item : value) {
      if (holdsNull(item)) return true;
    }
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto parts = fuzz::pieces(fuzz::asText(data, size), 2);
  Json from, to;
  try {
    from = parseJSON(parts[0]);
    to = parseJSON(parts[1]);
  } catch (const DecodingError&) {
    return 0;
  }
  std::optional<Json> change = patch(from, to);
  fuzzCheck(change.has_value() == (from != to), "a patch exists exactly between different documents");
  if (change && !holdsNull(to)) {
    fuzzCheck(merged(from, *change) == to, "the patch between two documents does not lead from one to the other");
  }
  return 0;
}
