// `vorno variant-import`: folds another package's look into this project as a variant, keeping
// only what differs. The patch must reproduce the look exactly, or nothing is saved.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "kit/model/project.h"
#include "kit/model/variants.h"
#include "kit/store/file_name.h"
#include "kit/store/file_project_store.h"
#include "kit/util/json_output.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace vorno::cli {

int runVariantImport(const ParsedArguments& args) {
  const std::string id = *args.string("id");
  const std::string from = *args.string("from");
  // Variant ids name export folders, so they are checked before any package is opened.
  if (!FileName::isPlainWord(id))
    throw UsageError("Variant ids use letters, digits, - and _ (they name export folders).");
  FileName::check(id, "Variant id");  // the alphabet says nothing of length: 10,000 letters name no folder

  Project look = FileProjectStore(standardizePath(from)).load();
  look.variants.clear();  // the other package's own looks are not brought along

  FileProjectStore store(standardizePath(*args.string("project")));
  auto [patchBytes, ids] = store.modify([&](Project& base) {
    Variant variant{id, args.string("name"), base.patchFrom(look)};
    if (!(base.applying(variant) == look))
      throw VornoError::invalid("The patch doesn't reproduce " + from + "; not saved.");
    size_t bytes = wireJSON(variant.patch.json()).size();
    if (Variant* existing = base.variant(id)) {
      *existing = std::move(variant);
    } else {
      base.variants.push_back(std::move(variant));
    }
    std::vector<std::string> variantIDs;
    for (const auto& stored : base.variants) variantIDs.push_back(stored.id);
    return std::pair{bytes, variantIDs};
  });

  std::string joined;
  for (const auto& variantID : ids) joined += (joined.empty() ? "" : ", ") + variantID;
  std::cout << "Saved variant " << id << " (" << patchBytes << " bytes of changes). Variants: " << joined << "\n";
  return 0;
}

}  // namespace vorno::cli
