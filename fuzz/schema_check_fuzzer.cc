// Feeds arbitrary JSON to the schema check, as a whole project, a look's patch and a slide. The
// check reads keys only, so it never throws, and every finding names a key and says so.
#include "fuzz/fuzz_support.h"
#include "kit/lint/schema_check.h"
#include "kit/model/coding.h"

#include <nlohmann/json.hpp>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

namespace {

void checkFindings(const std::vector<SchemaCheck::Finding>& findings) {
  for (const SchemaCheck::Finding& finding : findings) {
    fuzzCheck(finding.message().find(finding.key) != std::string::npos, "a finding's sentence misses its key");
    fuzzCheck(finding.issue().code == "schema.unknown", "a finding is not a schema.unknown issue");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Json raw;
  try {
    raw = parseJSON(fuzz::asText(data, size));
  } catch (const DecodingError&) {
    return 0;
  }
  checkFindings(SchemaCheck::project(raw));
  checkFindings(SchemaCheck::patch(raw));
  checkFindings(SchemaCheck::slide(raw));
  checkFindings(SchemaCheck::creative(raw));
  if (raw.is_object() && !raw.empty() && raw.begin().key().size() <= 64) {
    // The nearest of a list of names to one of its own members is a name at no distance.
    std::vector<std::string> keys;
    for (const auto& item : raw.items()) keys.push_back(item.key());
    std::optional<std::string> found = SchemaCheck::nearest(keys.front(), keys);
    fuzzCheck(found && SchemaCheck::distance(*found, keys.front()) == 0, "a key is not nearest to itself");
  }
  return 0;
}
