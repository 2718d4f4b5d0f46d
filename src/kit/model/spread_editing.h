// Spread editing: joining slides into spreads, leaving them, and moving elements between a slide
// and its spread, with placements shifted so that nothing moves on the canvas.
//
// A slide's x runs 0...1 across its own canvas; a spread's runs 0...n across its n members, so
// member k covers k...k+1. Every edit here converts between the two by adding or taking away the
// member's index. Edits that cannot apply (an unknown id, the last slide) leave the project as it
// is: the caller checks the ids it wants to report on.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace vorno {

struct Project;
struct SlideOverride;

/// The first free id of "spread-1", "spread-2" and so on.
std::string uniqueSpreadID(const Project& project);

/// `base` when no element of any slide or spread has it and `avoiding` doesn't hold it, else the
/// first free of `base`-2, `base`-3 and so on.
std::string uniqueElementID(const Project& project, std::string_view base, const std::set<std::string>& avoiding = {});

/// Joins a slide and the slide after it into one spread: a new spread, an existing spread
/// growing by one on either side, or two spreads merged. Nothing happens to the last slide or
/// an unknown id.
void joinWithNext(Project& project, std::string_view slideID);

/// Takes a slide out of its spread, putting down on it the spread's elements that stand on its
/// stretch. A spread left with one member, or with a gap, is dropped.
void leaveSpread(Project& project, std::string_view slideID);

/// Lifts an element of a slide onto the slide's spread, its placements shifted by the slide's
/// index within the spread. Nothing happens when the slide has no such element or no spread.
void moveElementToSpread(Project& project, std::string_view elementID, std::string_view slideID);

/// Puts an element of a spread down on member `slideIndex` (by default the member its first
/// placement stands on, else the middle one), its placements shifted back. Returns the id it
/// has on the slide, renamed when the slide already uses it; nothing when the spread, the
/// element, the member or its slide is missing.
std::optional<std::string> moveElementToSlide(Project& project, std::string_view elementID, std::string_view spreadID,
                                              std::optional<int> slideIndex = std::nullopt);

/// A copy with `dx` added to the x of every placement, and all else unchanged.
SlideOverride shiftingPlacements(const SlideOverride& override, double dx);

}  // namespace vorno
