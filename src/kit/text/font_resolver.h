// FontResolver: from a family name and a weight to the face Pango is asked for. A family that
// fontconfig knows is used as written; one it would substitute, and the names of the system
// font, give the system font: Inter, with Inter Display at large sizes where it is installed
// (the same text/display split the platform's own system font makes at 20 points).
#pragma once

#include "kit/model/enums.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorno {

struct ResolvedFont {
  std::string family;      ///< the family to ask Pango for
  bool hasItalic = false;  ///< the family has a real italic face
  bool isSystem = false;   ///< the system font stands in

  bool operator==(const ResolvedFont&) const = default;
};

/// What fontconfig says of one family name.
struct FamilyLookup {
  bool found = false;      ///< the face that came back carries the family asked for (case ignored)
  std::string file;        ///< the file of that face; empty when unknown
  bool hasItalic = false;  ///< some face of the family is italic or oblique
};

namespace FontResolver {

/// The system font's family at `size` pixels.
std::string systemFamily(double size);

/// The face for a run: `family` when fontconfig has it, else the system font.
ResolvedFont resolve(const std::optional<std::string>& family, FontWeight weight, double size);

/// The face for Han characters in text of a language ("ja", "ko", "zh-cn", "zh-tw", "zh-hk", as
/// TextInternal::faceLanguage writes them) when it is installed; empty otherwise. Pango chooses a
/// Han face by the text's language only where the language's own letters include Han, which
/// Korean's don't: naming the face beside the run's family makes every CJK language explicit.
std::string hanFamily(std::string_view language);

/// Asks fontconfig for `family` at `weight`; cached per configuration snapshot.
FamilyLookup lookup(std::string_view family, FontWeight weight);

/// How many questions went to fontconfig since the process started (cached answers not
/// counted): lets tests see that a name was answered without a look-up.
uint64_t queryCount();

/// Case-insensitive equality of family names (Unicode case folding).
bool sameFamily(std::string_view a, std::string_view b);

}  // namespace FontResolver
}  // namespace vorno
