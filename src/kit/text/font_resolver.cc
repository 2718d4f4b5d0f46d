#include "kit/text/font_resolver.h"

#include "kit/text/font_config.h"
#include "kit/text/text_layout.h"

#include <fontconfig/fontconfig.h>
#include <glib.h>

#include <atomic>
#include <map>
#include <mutex>
#include <tuple>

namespace vorno::FontResolver {
namespace {

constexpr double kDisplaySize = 20;
constexpr const char* kTextFamily = "Inter";
constexpr const char* kDisplayFamily = "Inter Display";

std::string folded(std::string_view s) {
  gchar* f = g_utf8_casefold(s.data(), static_cast<gssize>(s.size()));
  std::string out = f ? f : "";
  g_free(f);
  return out;
}

double openTypeWeight(FontWeight weight) {
  switch (weight) {
    case FontWeight::regular: return 400;
    case FontWeight::medium: return 500;
    case FontWeight::semibold: return 600;
    case FontWeight::bold: return 700;
    case FontWeight::heavy: return 800;
    case FontWeight::black: return 900;
  }
  return 400;
}

struct PatternDeleter {
  void operator()(FcPattern* p) const { FcPatternDestroy(p); }
};
using PatternPtr = std::unique_ptr<FcPattern, PatternDeleter>;

bool familyHasItalic(FcConfig* config, const std::string& family) {
  PatternPtr pattern(FcPatternCreate());
  FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
  FcObjectSet* objects = FcObjectSetBuild(FC_SLANT, nullptr);
  FcFontSet* set = FcFontList(config, pattern.get(), objects);
  FcObjectSetDestroy(objects);
  bool italic = false;
  for (int i = 0; set && i < set->nfont && !italic; ++i) {
    int slant = FC_SLANT_ROMAN;
    if (FcPatternGetInteger(set->fonts[i], FC_SLANT, 0, &slant) == FcResultMatch) italic = slant != FC_SLANT_ROMAN;
  }
  if (set) FcFontSetDestroy(set);
  return italic;
}

std::atomic<uint64_t> queries{0};

FamilyLookup query(FcConfig* config, const std::string& family, FontWeight weight) {
  queries.fetch_add(1, std::memory_order_relaxed);
  FamilyLookup result;
  PatternPtr pattern(FcPatternCreate());
  FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
  FcPatternAddDouble(pattern.get(), FC_WEIGHT, FcWeightFromOpenTypeDouble(openTypeWeight(weight)));
  FcConfigSubstitute(config, pattern.get(), FcMatchPattern);
  FcDefaultSubstitute(pattern.get());
  FcResult status = FcResultNoMatch;
  PatternPtr match(FcFontMatch(config, pattern.get(), &status));
  if (!match) return result;
  // A face lists its family in several forms ("Inter", "Inter Black"; localised names): any of
  // them answering to the name asked for counts as the family being there.
  std::string wanted = folded(family);
  FcChar8* name = nullptr;
  for (int i = 0; FcPatternGetString(match.get(), FC_FAMILY, i, &name) == FcResultMatch; ++i) {
    if (folded(reinterpret_cast<const char*>(name)) == wanted) {
      result.found = true;
      break;
    }
  }
  if (!result.found) return result;
  FcChar8* file = nullptr;
  if (FcPatternGetString(match.get(), FC_FILE, 0, &file) == FcResultMatch) result.file = reinterpret_cast<const char*>(file);
  result.hasItalic = familyHasItalic(config, family);
  return result;
}

struct Cache {
  std::mutex lock;
  std::map<std::tuple<uint64_t, std::string, FontWeight>, FamilyLookup> entries;
};

Cache& cache() {
  static Cache* c = new Cache;
  return *c;
}

}  // namespace

uint64_t queryCount() { return queries.load(std::memory_order_relaxed); }

bool sameFamily(std::string_view a, std::string_view b) { return folded(a) == folded(b); }

std::string systemFamily(double size) {
  static const bool hasDisplay = lookup(kDisplayFamily, FontWeight::regular).found;
  return size >= kDisplaySize && hasDisplay ? kDisplayFamily : kTextFamily;
}

FamilyLookup lookup(std::string_view family, FontWeight weight) {
  FontConfig::Snapshot snapshot = FontConfig::current();
  auto key = std::make_tuple(snapshot.generation, folded(family), weight);
  Cache& c = cache();
  {
    std::lock_guard guard(c.lock);
    if (auto it = c.entries.find(key); it != c.entries.end()) return it->second;
  }
  // Asked outside the lock: two threads may ask the same question once each, which is cheaper
  // than making every other thread wait on fontconfig.
  FamilyLookup result = query(snapshot.config.get(), std::string(family), weight);
  std::lock_guard guard(c.lock);
  // Entries of older snapshots can no longer be asked for.
  if (!c.entries.empty() && std::get<0>(c.entries.begin()->first) < snapshot.generation) {
    std::erase_if(c.entries, [&](const auto& e) { return std::get<0>(e.first) < snapshot.generation; });
  }
  c.entries.emplace(std::move(key), result);
  return result;
}

std::string hanFamily(std::string_view language) {
  static const std::pair<std::string_view, const char*> faces[] = {
      {"ja", "Noto Sans CJK JP"}, {"ko", "Noto Sans CJK KR"}, {"zh-cn", "Noto Sans CJK SC"},
      {"zh-tw", "Noto Sans CJK TC"}, {"zh-hk", "Noto Sans CJK HK"}};
  for (const auto& [tag, family] : faces) {
    if (tag == language) return lookup(family, FontWeight::regular).found ? family : "";
  }
  return "";
}

ResolvedFont resolve(const std::optional<std::string>& family, FontWeight weight, double size) {
  if (family && !family->empty() && !TextLayout::isSystemFamily(*family)) {
    FamilyLookup found = lookup(*family, weight);
    if (found.found) return {*family, found.hasItalic, false};
  }
  return {systemFamily(size), true, true};
}

}  // namespace vorno::FontResolver
