// Feeds arbitrary bytes to the project.json reader. Whatever comes in, reading either gives a
// document or throws one of our sentences; a document that was read writes, reads back equal,
// and writes the same bytes again.
#include "fuzz/fuzz_support.h"
#include "kit/model/project.h"
#include "kit/model/project_json.h"
#include "kit/store/file_project_store.h"
#include "kit/util/json_output.h"
#include "kit/util/vorno_error.h"

#include <nlohmann/json.hpp>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Project project;
  try {
    project = FileProjectStore::decode(fuzz::asText(data, size));
  } catch (const VornoError&) {
    return 0;
  }
  std::string written = documentJSON(encodeProject(project));
  Project again = FileProjectStore::decode(written);
  fuzzCheck(again == project, "a written document reads back as another");
  fuzzCheck(documentJSON(encodeProject(again)) == written, "a document read back writes other bytes");
  return 0;
}
