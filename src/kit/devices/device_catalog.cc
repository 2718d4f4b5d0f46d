#include "kit/devices/device_catalog.h"

#include "kit/devices/builtin_specs.h"
#include "kit/devices/corner_radius_cache.h"
#include "kit/devices/xcode_display.h"

#include <plist/plist.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>

namespace vorno {
namespace fs = std::filesystem;

namespace {

constexpr std::string_view genericPrefix = "android-generic-";

struct PlistDeleter {
  void operator()(void* node) const {
    if (node) plist_free(node);
  }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

// The profile's product families (1 phone, 2 tablet); empty unless it is a list of whole numbers.
std::vector<int64_t> productFamilies(plist_t profile) {
  std::vector<int64_t> out;
  plist_t list = plist_dict_get_item(profile, "supportedProductFamilyIDs");
  if (!list || plist_get_node_type(list) != PLIST_ARRAY) return out;
  for (uint32_t i = 0; i < plist_array_get_size(list); ++i) {
    plist_t node = plist_array_get_item(list, i);
    plist_type type = node ? plist_get_node_type(node) : PLIST_NONE;
    if (type == PLIST_UINT) {
      uint64_t value = 0;
      plist_get_uint_val(node, &value);
      out.push_back(static_cast<int64_t>(value));
    } else if (type == PLIST_REAL) {
      double value = 0;
      plist_get_real_val(node, &value);
      if (value != std::floor(value) || std::abs(value) > 1e9) return {};
      out.push_back(static_cast<int64_t>(value));
    } else {
      return {};
    }
  }
  return out;
}

std::optional<bool> booleanItem(plist_t dictionary, const char* key) {
  if (!isDictionary(dictionary)) return std::nullopt;
  plist_t node = plist_dict_get_item(dictionary, key);
  if (!node || plist_get_node_type(node) != PLIST_BOOLEAN) return std::nullopt;
  uint8_t value = 0;
  plist_get_bool_val(node, &value);
  return value != 0;
}

bool mirroredMask(const FrameSpec& spec) { return spec.hinge && spec.hinge->side == FrameSpec::Hinge::Side::left; }

// One frame from one display of a bundle, or nothing when the display has no usable mask.
std::optional<DeviceFrame> frameOf(const std::string& name, const fs::path& resources, const XcodeDisplay& display,
                                   FrameSpec spec, const std::vector<int64_t>& families) {
  std::string id = BuiltinSpecs::slug(name);
  std::string frameName = name;
  DeviceFamily family;
  std::optional<double> fallbackRadius;
  if (name.rfind("iPhone Duo", 0) == 0) {
    // One bundle holds both screens of the foldable; each becomes the frame of its own state.
    const DeviceFrame& closed = BuiltinSpecs::duoClosedFrame();
    const DeviceFrame& duo = display.width == closed.screenWidth && display.height == closed.screenHeight
                                 ? closed
                                 : BuiltinSpecs::duoOpenFrame();
    spec = duo.spec;
    id = duo.id;
    frameName = duo.name;
    fallbackRadius = duo.screenCornerRadius;
    family = DeviceFamily::foldable;
  } else {
    family = std::find(families.begin(), families.end(), 2) != families.end() ? DeviceFamily::tablet
                                                                              : DeviceFamily::phone;
  }

  if (!display.mask) return std::nullopt;
  fs::path maskPath = resources / (*display.mask + ".pdf");
  std::error_code error;
  if (!fs::exists(maskPath, error)) return std::nullopt;

  double radius;
  if (display.corners) {
    const auto& c = *display.corners;
    double left = std::min(c.topLeft, c.bottomLeft), right = std::min(c.topRight, c.bottomRight);
    if (spec.hinge && std::abs(left - right) > 0.5) {
      spec.hinge->side = right <= left ? FrameSpec::Hinge::Side::right : FrameSpec::Hinge::Side::left;
      spec.hinge->screenRadius = std::min(left, right);
    }
    radius = display.scale * std::max(left, right);
    // The bundle states its corners: trust them, so the mask is never rasterised for this frame.
    CornerRadiusCache::shared().setValue(
        CornerRadiusCache::key(maskPath.string(), display.width, display.height, mirroredMask(spec)), radius);
  } else if (auto known = CornerRadiusCache::shared().value(
                 CornerRadiusCache::key(maskPath.string(), display.width, display.height, mirroredMask(spec)))) {
    radius = *known;
  } else {
    // A stand-by only: `resolved` fits the real radius when the frame is used.
    radius = fallbackRadius ? *fallbackRadius : display.width * (family == DeviceFamily::tablet ? 0.045 : 0.14);
  }

  DeviceFrame frame;
  frame.id = id;
  frame.name = frameName;
  frame.platform = Platform::ios;
  frame.family = family;
  frame.screenWidth = display.width;
  frame.screenHeight = display.height;
  frame.scale = display.scale;
  frame.screenCornerRadius = radius;
  frame.maskPDFPath = maskPath.string();
  frame.spec = std::move(spec);
  frame.source = DeviceFrame::Source::xcode;
  return frame;
}

std::vector<fs::path> splitFolders(const std::string& list) {
  std::vector<fs::path> out;
  size_t start = 0;
  while (start <= list.size()) {
    size_t end = list.find(':', start);
    if (end == std::string::npos) end = list.size();
    if (end > start) out.emplace_back(list.substr(start, end - start));
    start = end + 1;
  }
  return out;
}

// A whole number as the pieces of a generic id are written; nothing for anything else.
std::optional<int> parseInteger(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  int value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

}  // namespace

const std::vector<std::string>& DeviceCatalog::preferenceOrder() {
  static const std::vector<std::string> names{
      "iPhone 17 Pro Max",     "iPhone 17 Pro",         "iPhone 17",
      "iPhone Air",            "iPhone Duo",            "iPhone Duo (closed)",
      "iPhone 18 Pro Max",     "iPhone 18 Pro",         "iPhone 17e",
      "iPhone 16 Pro Max",     "iPhone 16 Pro",         "iPhone 16 Plus",
      "iPhone 16",             "iPhone 16e",            "iPhone 15 Pro Max",
      "iPhone 15 Pro",         "iPhone 15 Plus",        "iPhone 15",
      "iPad Pro 13-inch (M5)", "iPad Pro 11-inch (M5)", "iPad Pro 13-inch (M4)",
      "iPad Pro 11-inch (M4)", "iPad Air 13-inch (M4)", "iPad Air 11-inch (M4)",
      "iPad Air 13-inch (M3)", "iPad Air 11-inch (M3)", "iPad (A16)",
      "iPad mini (A17 Pro)",   "Pixel 9 Pro",           "Android Tablet 10\u2033",
  };
  return names;
}

int DeviceCatalog::rank(std::string_view name) {
  const auto& names = preferenceOrder();
  auto it = std::find(names.begin(), names.end(), name);
  return it == names.end() ? 1000 : static_cast<int>(it - names.begin());
}

std::vector<fs::path> DeviceCatalog::deviceTypeFolders() {
  if (const char* list = std::getenv(foldersVariable)) return splitFolders(list);
  fs::path developer;
  if (const char* dir = std::getenv("DEVELOPER_DIR"); dir && *dir) {
    developer = dir;
  } else {
    std::error_code error;
    developer = fs::read_symlink("/var/db/xcode_select_link", error);
    if (error || developer.empty()) developer = "/Applications/Xcode.app/Contents/Developer";
  }
  return {"/Library/Developer/CoreSimulator/Profiles/DeviceTypes",
          developer / "Platforms/iPhoneOS.platform/Library/Developer/CoreSimulator/Profiles/DeviceTypes"};
}

std::vector<DeviceFrame> DeviceCatalog::xcodeFrames(const std::string& name, const fs::path& bundle,
                                                    const FrameSpec& bundleSpec) {
  fs::path resources = bundle / "Contents" / "Resources";
  PlistPtr profile(readPropertyList((resources / "profile.plist").string()));
  if (!isDictionary(profile.get())) return {};
  PlistPtr capabilitiesFile(readPropertyList((resources / "capabilities.plist").string()));
  plist_t capabilities = nullptr;
  if (isDictionary(capabilitiesFile.get())) {
    plist_t inner = plist_dict_get_item(capabilitiesFile.get(), "capabilities");
    if (isDictionary(inner)) capabilities = inner;
  }

  std::vector<XcodeDisplay> displays = XcodeDisplay::all(capabilities, profile.get());
  std::vector<int64_t> families = productFamilies(profile.get());

  FrameSpec spec = bundleSpec;
  if (auto island = booleanItem(capabilities, "DeviceSupportsDynamicIsland")) {
    if (!*island) {
      spec.island.reset();
    } else if (!spec.island) {
      spec.island = FrameSpec::Island{126.0, 37.33, 11.0};
    }
  }

  std::vector<DeviceFrame> frames;
  for (const auto& display : displays)
    if (auto frame = frameOf(name, resources, display, spec, families)) frames.push_back(std::move(*frame));
  return frames;
}

DeviceCatalog DeviceCatalog::load() { return load(deviceTypeFolders()); }

DeviceCatalog DeviceCatalog::load(const std::vector<fs::path>& folders) {
  std::map<std::string, DeviceFrame> byId;
  std::vector<std::string> order;
  auto add = [&](DeviceFrame frame) {
    if (byId.count(frame.id)) return;  // the first source of an id wins
    order.push_back(frame.id);
    byId.emplace(frame.id, std::move(frame));
  };

  for (const auto& folder : folders) {
    std::error_code error;
    fs::directory_iterator it(folder, error);
    if (error) continue;  // a folder that can't be listed is simply not there
    // Listing order is the file system's; sorting keeps the catalogue the same on every machine.
    std::vector<fs::path> bundles;
    for (; it != fs::directory_iterator(); it.increment(error)) {
      if (error) break;
      if (it->path().extension() == ".simdevicetype") bundles.push_back(it->path());
    }
    std::sort(bundles.begin(), bundles.end());
    for (const auto& bundle : bundles) {
      std::string name = bundle.stem().string();
      auto spec = BuiltinSpecs::apple(name);
      if (!spec) continue;
      for (auto& frame : xcodeFrames(name, bundle, *spec)) add(std::move(frame));
    }
  }
  for (const auto& frame : BuiltinSpecs::fallbackFrames()) add(frame);

  DeviceCatalog catalog;
  for (const auto& id : order) catalog.frames.push_back(std::move(byId.at(id)));
  std::stable_sort(catalog.frames.begin(), catalog.frames.end(),
                   [](const DeviceFrame& a, const DeviceFrame& b) { return rank(a.name) < rank(b.name); });
  return catalog;
}

const DeviceCatalog& DeviceCatalog::shared() {
  static const DeviceCatalog catalog = load();
  return catalog;
}

DeviceFrame DeviceCatalog::resolved(const DeviceFrame& frame) {
  if (!frame.maskPDFPath) return frame;
  DeviceFrame out = frame;
  if (auto radius = CornerRadiusCache::shared().radius(*frame.maskPDFPath, frame.screenWidth, frame.screenHeight,
                                                       mirroredMask(frame.spec)))
    out.screenCornerRadius = *radius;
  return out;
}

std::optional<DeviceFrame> DeviceCatalog::frame(std::string_view id) const {
  for (const auto& f : frames)
    if (f.id == id) return resolved(f);
  if (id.substr(0, genericPrefix.size()) != genericPrefix) return std::nullopt;
  std::vector<int> sides;
  std::string_view rest = id.substr(genericPrefix.size());
  while (!rest.empty()) {
    size_t cut = rest.find('x');
    std::string_view piece = rest.substr(0, cut);
    if (auto value = parseInteger(piece)) sides.push_back(*value);
    if (cut == std::string_view::npos) break;
    rest.remove_prefix(cut + 1);
  }
  // A screen of no pixels is no device: only positive sides make a frame.
  if (sides.size() != 2 || sides[0] <= 0 || sides[1] <= 0) return std::nullopt;
  return genericAndroid(sides[0], sides[1]);
}

std::optional<DeviceFrame> DeviceCatalog::exactMatch(int width, int height, Platform platform) const {
  int shorter = std::min(width, height), longer = std::max(width, height);
  for (const auto& f : frames)
    if (f.platform == platform && f.screenWidth == shorter && f.screenHeight == longer) return resolved(f);
  return std::nullopt;
}

std::optional<DeviceFrame> DeviceCatalog::bestMatch(int width, int height, Platform platform,
                                                    DeviceFamily family) const {
  int shorter = std::min(width, height), longer = std::max(width, height);
  const DeviceFrame* best = nullptr;
  double bestDistance = 0;
  double aspect = longer > 0 ? static_cast<double>(shorter) / longer : 0;
  for (const auto& f : frames) {
    if (f.platform != platform || f.family != family) continue;
    if (f.screenWidth == shorter && f.screenHeight == longer) return resolved(f);
    double distance = std::abs(f.screenAspect() - aspect);
    if (!best || distance < bestDistance) {
      best = &f;
      bestDistance = distance;
    }
  }
  if (!best) return std::nullopt;
  return resolved(*best);
}

std::optional<DeviceFrame> DeviceCatalog::defaultFrame(Platform platform, DeviceFamily family) const {
  for (const auto& f : frames)
    if (f.platform == platform && f.family == family) return resolved(f);
  return std::nullopt;
}

DeviceFrame DeviceCatalog::genericAndroid(int width, int height) {
  int shorter = std::min(width, height), longer = std::max(width, height);
  bool tablet = longer > 0 && static_cast<double>(shorter) / longer > 0.6;
  using Side = FrameSpec::Button::Side;
  DeviceFrame f;
  f.id = std::string(genericPrefix) + std::to_string(shorter) + "x" + std::to_string(longer);
  f.name = tablet ? "Android Tablet" : "Android Phone";
  f.platform = Platform::android;
  f.family = tablet ? DeviceFamily::tablet : DeviceFamily::phone;
  f.screenWidth = shorter;
  f.screenHeight = longer;
  f.scale = shorter / (tablet ? 800.0 : 412.0);
  f.screenCornerRadius = shorter * (tablet ? 0.025 : 0.09);
  f.spec.bezel = tablet ? 28 : 13;
  f.spec.band = tablet ? 2.5 : 4;
  if (!tablet) f.spec.punchHole = FrameSpec::PunchHole{11, 11, std::nullopt};
  if (tablet) {
    f.spec.buttons = {{Side::top, 0.75, 0.08}};
  } else {
    f.spec.buttons = {{Side::right, 0.22, 0.06}, {Side::right, 0.31, 0.12}};
  }
  f.spec.defaultFinish = "black";
  f.spec.finishes = {"black", "porcelain", "silver"};
  f.source = DeviceFrame::Source::builtin;
  return f;
}

}  // namespace vorno
