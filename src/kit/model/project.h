// Project: the whole document of a screenshot set, the record that project.json holds.
//
// Lookups return pointers into the project's own lists: valid until the list they point into
// changes (an upsert that appends, a repair of spreads).
#pragma once

#include "kit/model/creative.h"
#include "kit/model/slide.h"
#include "kit/model/spread.h"
#include "kit/model/theme.h"
#include "kit/model/variant.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

struct StoreTarget;
struct TextOwnership;
enum class LookTextScope;

struct Project {
  static constexpr int currentSchemaVersion = 5;

  int schemaVersion = currentSchemaVersion;
  std::string appName;
  std::vector<std::string> locales;
  std::vector<std::string> targets;  ///< store target ids
  Theme theme;
  std::vector<Slide> slides;
  std::vector<Spread> spreads;
  std::vector<Variant> variants;
  std::vector<Creative> creatives;

  Project() = default;
  /// A new document at the current schema version, with no variants and no creatives.
  Project(std::string appName, std::vector<std::string> locales, std::vector<std::string> targets, Theme theme,
          std::vector<Slide> slides, std::vector<Spread> spreads);

  bool operator==(const Project&) const = default;

  /// The first slide with that id.
  const Slide* slide(std::string_view id) const;
  Slide* slide(std::string_view id);
  /// The first spread with that id.
  const Spread* spread(std::string_view id) const;
  Spread* spread(std::string_view id);
  /// The first spread whose members include that slide.
  const Spread* spreadContaining(std::string_view slideID) const;
  /// The first creative whose slide has that id.
  const Creative* creative(std::string_view id) const;
  Creative* creative(std::string_view id);
  /// Anything laid out as a slide: the slide of that id, else the slide of the creative.
  const Slide* board(std::string_view id) const;
  /// The canvas of the creative with that id; nothing for no such creative or an unknown canvas.
  const StoreTarget* canvasOf(std::string_view id) const;
  /// The first variant with that id.
  const Variant* variant(std::string_view id) const;
  Variant* variant(std::string_view id);

  /// Replaces the first slide with the same id in place, else appends it.
  void upsert(const Slide& slide);
  /// Replaces the first creative with the same id in place, else appends it.
  void upsert(const Creative& creative);
  /// Changes the slide of that id in place, else the slide of the creative of that id; false
  /// when neither exists.
  bool modifyBoard(std::string_view id, const std::function<void(Slide&)>& mutate);

  /// Makes spreads fit the slides again after slides were deleted or reordered: members that no
  /// longer exist leave, the rest follow slide order, and a spread whose members are fewer than
  /// two or no longer adjacent is dropped without a word.
  void repairSpreads();

  // Looks: variants as patches over this document (variants.cc).

  /// The look of a variant: this document, without variants, with the variant's patch merged in
  /// and spreads repaired. Throws `invalid` when the result is no valid project.
  Project applying(const Variant& variant) const;
  /// The document of a look: this project itself without an id, else the variant's look.
  /// Throws `notFound` for an unknown id.
  Project resolved(const std::optional<std::string>& variantID) const;
  /// What a variant of this base must hold to look like `other`; `{}` when they look the same.
  JSONValue patchFrom(const Project& other) const;
  /// Makes the variant the base, keeps every other look the same, and keeps the old base as the
  /// variant "previous-base" in the promoted one's place.
  Project promoting(std::string_view variantID) const;
  /// Reconciles `ours` (a save from an editor) with `theirs` (what arrived on disk meanwhile),
  /// both edited since `base`: member by member, and theirs wins a real conflict.
  static Project merge(const Project& base, const Project& ours, const Project& theirs);

  // Looks as people edit them (looks.cc).

  /// Stores `look`, a whole document edited in a resolved state, as variant `id`. With an
  /// ownership the look's new words for texts it does not own go into the base instead.
  Project savingLook(const std::string& id, const Project& look, const TextOwnership* ownership = nullptr) const;
  /// Short phrases for people of what a variant changes. Throws `notFound` for an unknown id.
  std::vector<std::string> changes(std::string_view variantID) const;
  /// A copy for reading the words alone: no devices, no image or device elements.
  Project wordsOnly() const;
  /// One line a slide: number, eyebrow, headline and subhead in plain text.
  std::vector<std::string> storyOutline(const std::string& locale) const;
  /// The localised text at a field path such as "slides/week/headline"; nothing when the path
  /// leads nowhere.
  std::optional<LocalizedText> text(std::string_view fieldPath) const;
  /// The field path of a text: `field` is "headline", "text", "component/title" and the like;
  /// `element` is the free element's id when the text belongs to one.
  static std::string textField(std::string_view owner, std::string_view ownerID,
                               const std::optional<std::string>& element, std::string_view field);
  /// Whether a text of a look follows this base, has the look's own words, belongs to an
  /// element only the look has, or cannot be told apart.
  LookTextScope textScope(std::string_view fieldPath, const TextOwnership& ownership) const;
};

}  // namespace vorno
