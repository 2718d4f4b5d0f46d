#include "kit/model/store_target.h"

#include <algorithm>

namespace vorno {

namespace {

// The stores change their sizes over time; this table is the one place to follow them. The ids
// are part of the file format and never change.
StoreTarget screenshot(std::string id, std::string name, Platform platform, int width, int height, DeviceFamily family,
                       int maxCount, int minCount, std::string note) {
  StoreTarget t;
  t.id = std::move(id);
  t.name = std::move(name);
  t.platform = platform;
  t.width = width;
  t.height = height;
  t.family = family;
  t.maxCount = maxCount;
  t.minCount = minCount;
  t.note = std::move(note);
  t.kind = StoreTarget::Kind::screenshot;
  return t;
}

StoreTarget creative(std::string id, std::string name, int width, int height, Rect safeArea, std::string note) {
  StoreTarget t;
  t.id = std::move(id);
  t.name = std::move(name);
  t.platform = Platform::ios;
  t.width = width;
  t.height = height;
  t.family = DeviceFamily::phone;
  t.maxCount = 1;
  t.minCount = 0;
  t.note = std::move(note);
  t.kind = StoreTarget::Kind::creative;
  t.safeArea = safeArea;
  return t;
}

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

std::optional<double> StoreTarget::minReadableText() const {
  // These canvases are shown as small tiles, so type below this size can't be read there.
  if (id == "ios.search-results") return 110;
  if (id == "ios.universal") return 130;
  return std::nullopt;
}

std::pair<int, int> StoreTarget::videoSize() const {
  if (id == "ios.search-results") return {3072, 2048};
  return {width, height};
}

const std::vector<StoreTarget>& StoreTarget::all() {
  static const std::vector<StoreTarget> targets{
      screenshot("ios.iphone-6.9", "iPhone 6.9″", Platform::ios, 1320, 2868, DeviceFamily::phone, 10, 1,
                 "Required for iPhone apps. Smaller iPhones are scaled from this."),
      screenshot("ios.iphone-6.5", "iPhone 6.5″", Platform::ios, 1284, 2778, DeviceFamily::phone, 10, 1,
                 "Only needed when 6.9″ is not provided."),
      screenshot("ios.iphone-duo", "iPhone Duo", Platform::ios, 2007, 2853, DeviceFamily::foldable, 10, 1,
                 "Optional now; Apple requires iPhone Duo screenshots for new submissions from April 2027."),
      screenshot("ios.ipad-13", "iPad 13″", Platform::ios, 2064, 2752, DeviceFamily::tablet, 10, 1,
                 "Required when the app runs on iPad."),
      screenshot("play.phone", "Play phone", Platform::android, 1080, 1920, DeviceFamily::phone, 8, 2,
                 "9:16 at 1080px qualifies for featuring."),
      screenshot("play.tablet-7", "Play 7″ tablet", Platform::android, 1200, 1920, DeviceFamily::tablet, 8, 0,
                 "Optional."),
      screenshot("play.tablet-10", "Play 10″ tablet", Platform::android, 1600, 2560, DeviceFamily::tablet, 8, 0,
                 "Optional."),
  };
  return targets;
}

const std::vector<StoreTarget>& StoreTarget::canvases() {
  static const std::vector<StoreTarget> targets{
      creative("ios.header", "Product page header", 3840, 1646, Rect{1097, 493, 1646, 661},
               "21:9, the first thing on the product page. Brand, a season, new content: one clear idea."),
      creative("ios.search-results", "Search results", 3840, 2560, Rect{836, 765, 2168, 1030},
               "3:2, replaces the first screenshots in search results. Make the app's purpose obvious; show it "
               "in use."),
      creative("ios.universal", "Universal creative", 5244, 2950, Rect{1921, 660, 1402, 962},
               "16:9 PNG that can serve as both the header and the search results asset. Its safe area is "
               "small."),
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

}  // namespace vorno
