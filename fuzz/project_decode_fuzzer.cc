// Feeds arbitrary bytes to the project.json reader. Whatever comes in, reading either gives a
// document or throws one of our sentences; a document that was read writes, reads back equal,
// and writes the same bytes again; the schema check never throws.
#include "kit/lint/schema_check.h"
#include "kit/model/coding.h"
#include "kit/model/project.h"
#include "kit/model/project_json.h"
#include "kit/store/file_project_store.h"
#include "kit/util/json_output.h"
#include "kit/util/vorno_error.h"

#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  try {
    vorno::Json raw = vorno::parseJSON(text);
    (void)vorno::SchemaCheck::project(raw);
  } catch (const vorno::DecodingError&) {
  }

  vorno::Project project;
  try {
    project = vorno::FileProjectStore::decode(text);
  } catch (const vorno::VornoError&) {
    return 0;
  }
  std::string written = vorno::documentJSON(vorno::encodeProject(project));
  vorno::Project again = vorno::FileProjectStore::decode(written);
  if (!(again == project)) std::abort();
  if (vorno::documentJSON(vorno::encodeProject(again)) != written) std::abort();
  return 0;
}
