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
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

struct StoreTarget;

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
};

}  // namespace vorno
