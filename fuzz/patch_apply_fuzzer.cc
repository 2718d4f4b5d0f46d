// Lays an arbitrary patch over an arbitrary document, as a look is laid over a project. The input
// is the document and the patch, cut at the first NUL. Applying never throws, and applying the
// same patch twice changes nothing more. (A null inside a value the patch adds stays in the
// document the first time and goes the second; readers take both as absent, so the documents are
// compared without the nulls of their objects.)
#include "fuzz/fuzz_support.h"
#include "kit/model/coding.h"
#include "kit/model/json_value.h"

#include <nlohmann/json.hpp>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

namespace {

Json withoutNulls(const Json& value) {
  if (value.is_array()) {
    Json out = Json::array();
    for (const Json& item : value) out.push_back(withoutNulls(item));
    return out;
  }
  if (!value.is_object()) return value;
  Json out = Json::object();
  for (auto it = value.begin(); it != value.end(); ++it) {
    if (!it.value().is_null()) out[it.key()] = withoutNulls(it.value());
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto parts = fuzz::pieces(fuzz::asText(data, size), 2);
  Json base, look;
  try {
    base = parseJSON(parts[0]);
    look = parseJSON(parts[1]);
  } catch (const DecodingError&) {
    return 0;
  }
  Json once = merged(base, look);
  fuzzCheck(withoutNulls(merged(once, look)) == withoutNulls(once), "a patch applied twice changes the document again");
  for (const std::string& field : textFields(look)) {
    JSONPath path = splitPath(field);
    fuzzCheck(isTextField(path), "a text field of a patch is no text field");
    fuzzCheck(covers(look, path), "a patch does not cover a text it sets");
  }
  return 0;
}
