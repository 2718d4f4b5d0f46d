// Looks as people edit them: which texts a look owns, saving an edited look back as a patch,
// describing a look in a few words, and reading the copy of a set on its own.
//
// A text of a look either follows the base (`shared`) or has the look's own words (`own`). The
// patch says which, unless the user decided otherwise (`claims`). Saving a look with an ownership
// sends the new words of shared texts to the base, so every look gets them:
//
//   TextOwnership ownership{variant.patch, {{"slides/week/headline", false}}};
//   Project saved = project.savingLook("bold", editedLook, &ownership);
#pragma once

#include "kit/model/project.h"
#include "kit/model/variant.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace vorno {

/// The four states of a text in a look.
enum class LookTextScope {
  shared,    ///< follows the base
  own,       ///< the look's own words
  onlyHere,  ///< belongs to an element that only this look has
  locked,    ///< the look replaced a whole list, so its texts can't be told apart
};

/// Which texts a look owns: its patch, and the user's explicit decisions by field path.
struct TextOwnership {
  JSONValue patch;
  std::map<std::string, bool> claims;

  bool operator==(const TextOwnership&) const = default;

  /// The user's claim on the field when there is one, else whether the patch covers it.
  bool owns(std::string_view fieldPath) const;
  /// The patch replaced a whole list above the field: there is no per-field patch.
  bool isLocked(std::string_view fieldPath) const;
};

/// The label of a look by its position: "Treatment 1" to "Treatment 3", then "Extra" beyond
/// the store's limit of three tests.
std::string treatmentName(size_t index);

/// The number of words a reader sees in a text: markup left out, runs between blanks counted.
int words(std::string_view text);

}  // namespace vorno
