#include "kit/model/store_target.h"

#include <algorithm>

namespace vorno {

namespace {

const StoreTarget* firstWithId(const std::vector<StoreTarget>& list, std::string_view id) {
  auto it = std::find_if(list.begin(), list.end(), [&](const StoreTarget& t) { return t.id == id; });
  return it == list.end() ? nullptr : &*it;
}

}  // namespace

DeviceFamily deviceFamilyOf(double width, double height) {
  double longSide = std::max(width, height);
  // A zero-sized image has no shape; calling it a phone keeps the division defined.
  if (!(longSide > 0)) return DeviceFamily::phone;
  return std::min(width, height) / longSide > 0.6 ? DeviceFamily::tablet : DeviceFamily::phone;
}

double StoreTarget::textUnit() const {
  if (safeArea) return std::min(safeArea->height * 2.4, safeArea->width);
  return std::min(height * 0.46, static_cast<double>(width));
}

// The stores change their sizes over time; these two tables are the one place to follow them,
// one row per slot. The ids are part of the file format and never change.
//
// The fastlane paths: the uploader's iOS folder holds every target of a locale and tells them
// apart by file name; a foldable has no slot there, so it gets a folder of its own beside it.
// Google Play's are one folder per kind of screenshot.
const std::vector<StoreTarget>& StoreTarget::all() {
  using enum Platform;
  using enum DeviceFamily;
  static const std::vector<StoreTarget> targets{
      {.id = "ios.iphone-6.9", .name = "iPhone 6.9″", .platform = ios, .width = 1320, .height = 2868,
       .family = phone, .maxCount = 10, .minCount = 1,
       .note = "Required for iPhone apps. Smaller iPhones are scaled from this.",
       .fastlanePath = "fastlane/screenshots/{locale}/{index}_{target}.png"},
      {.id = "ios.iphone-6.5", .name = "iPhone 6.5″", .platform = ios, .width = 1284, .height = 2778,
       .family = phone, .maxCount = 10, .minCount = 1, .note = "Only needed when 6.9″ is not provided.",
       .fastlanePath = "fastlane/screenshots/{locale}/{index}_{target}.png"},
      {.id = "ios.iphone-duo", .name = "iPhone Duo", .platform = ios, .width = 2007, .height = 2853,
       .family = foldable, .maxCount = 10, .minCount = 1,
       .note = "Optional now; Apple requires iPhone Duo screenshots for new submissions from April 2027.",
       .fastlanePath = "fastlane/iphone-duo/{locale}/{index}_{slide}.png"},
      {.id = "ios.ipad-13", .name = "iPad 13″", .platform = ios, .width = 2064, .height = 2752, .family = tablet,
       .maxCount = 10, .minCount = 1, .note = "Required when the app runs on iPad.",
       .fastlanePath = "fastlane/screenshots/{locale}/{index}_{target}.png"},
      {.id = "play.phone", .name = "Play phone", .platform = android, .width = 1080, .height = 1920,
       .family = phone, .maxCount = 8, .minCount = 2, .note = "9:16 at 1080px qualifies for featuring.",
       .fastlanePath = "fastlane/metadata/android/{locale}/images/phoneScreenshots/{index}_{slide}.png"},
      {.id = "play.tablet-7", .name = "Play 7″ tablet", .platform = android, .width = 1200, .height = 1920,
       .family = tablet, .maxCount = 8, .minCount = 0, .note = "Optional.",
       .fastlanePath = "fastlane/metadata/android/{locale}/images/sevenInchScreenshots/{index}_{slide}.png"},
      {.id = "play.tablet-10", .name = "Play 10″ tablet", .platform = android, .width = 1600, .height = 2560,
       .family = tablet, .maxCount = 8, .minCount = 0, .note = "Optional.",
       .fastlanePath = "fastlane/metadata/android/{locale}/images/tenInchScreenshots/{index}_{slide}.png"},
  };
  return targets;
}

// The canvases shown as small tiles (search results, the universal creative) can't show type
// below their minimum size; the search results' video is four fifths of the still.
const std::vector<StoreTarget>& StoreTarget::canvases() {
  constexpr Kind creative = Kind::creative;
  static const std::vector<StoreTarget> targets{
      {.id = "ios.header", .name = "Product page header", .width = 3840, .height = 1646, .maxCount = 1,
       .note = "21:9, the first thing on the product page. Brand, a season, new content: one clear idea.",
       .kind = creative, .safeArea = Rect{1097, 493, 1646, 661}},
      {.id = "ios.search-results", .name = "Search results", .width = 3840, .height = 2560, .maxCount = 1,
       .note = "3:2, replaces the first screenshots in search results. Make the app's purpose obvious; show it "
               "in use.",
       .kind = creative, .safeArea = Rect{836, 765, 2168, 1030}, .minReadableText = 110,
       .smallerVideo = std::pair{3072, 2048}},
      {.id = "ios.universal", .name = "Universal creative", .width = 5244, .height = 2950, .maxCount = 1,
       .note = "16:9 PNG that can serve as both the header and the search results asset. Its safe area is "
               "small.",
       .kind = creative, .safeArea = Rect{1921, 660, 1402, 962}, .minReadableText = 130},
  };
  return targets;
}

const StoreTarget* StoreTarget::named(std::string_view id) { return firstWithId(all(), id); }

const StoreTarget* StoreTarget::canvas(std::string_view id) { return firstWithId(canvases(), id); }

const StoreTarget* StoreTarget::any(std::string_view id) {
  if (const StoreTarget* target = named(id)) return target;
  return canvas(id);
}

const StoreTarget& StoreTarget::iphone69() { return all()[0]; }
const StoreTarget& StoreTarget::iphone65() { return all()[1]; }
const StoreTarget& StoreTarget::iphoneDuo() { return all()[2]; }
const StoreTarget& StoreTarget::ipad13() { return all()[3]; }
const StoreTarget& StoreTarget::playPhone() { return all()[4]; }
const StoreTarget& StoreTarget::playTablet7() { return all()[5]; }
const StoreTarget& StoreTarget::playTablet10() { return all()[6]; }
const StoreTarget& StoreTarget::appStoreHeader() { return canvases()[0]; }
const StoreTarget& StoreTarget::appStoreSearch() { return canvases()[1]; }
const StoreTarget& StoreTarget::appStoreUniversal() { return canvases()[2]; }

std::string knownTargetIDs(KnownTargets which) {
  std::string text;
  auto add = [&text](const std::vector<StoreTarget>& list) {
    for (const StoreTarget& target : list) text += (text.empty() ? "" : ", ") + target.id;
  };
  if (which != KnownTargets::canvases) add(StoreTarget::all());
  if (which != KnownTargets::slots) add(StoreTarget::canvases());
  return text;
}

}  // namespace vorno
