#include "kit/text/font_file_info.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <memory>

namespace vorno {

namespace {

std::optional<std::string> firstString(FcPattern* pattern, const char* object) {
  FcChar8* value = nullptr;
  if (FcPatternGetString(pattern, object, 0, &value) != FcResultMatch || !value || !*value) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(value));
}

}  // namespace

std::optional<FontFileInfo> FontFileInfo::read(const std::string& path) {
  std::unique_ptr<FcFontSet, decltype(&FcFontSetDestroy)> set(FcFontSetCreate(), &FcFontSetDestroy);
  if (!set) return std::nullopt;
  // Every face of the file, and every named instance of a variable font (an id of -1 asks for all).
  int faces = 0;
  FcFreeTypeQueryAll(reinterpret_cast<const FcChar8*>(path.c_str()), static_cast<unsigned int>(-1), nullptr, &faces,
                     set.get());
  FontFileInfo result;
  for (int i = 0; i < set->nfont; ++i) {
    FcPattern* pattern = set->fonts[i];
    // The first family is the typographic one ("Inter" rather than "Inter Semi Bold"): the name
    // that matches every weight of the family.
    if (result.family.empty()) result.family = firstString(pattern, FC_FAMILY).value_or("");
    // A variable font's own pattern stands for all its instances and names no one style.
    FcBool variable = FcFalse;
    if (FcPatternGetBool(pattern, FC_VARIABLE, 0, &variable) == FcResultMatch && variable) continue;
    if (std::optional<std::string> style = firstString(pattern, FC_STYLE);
        style && std::find(result.styles.begin(), result.styles.end(), *style) == result.styles.end())
      result.styles.push_back(*style);
  }
  if (result.family.empty()) return std::nullopt;
  return result;
}

}  // namespace vorno
