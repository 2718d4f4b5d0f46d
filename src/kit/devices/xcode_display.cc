#include "kit/devices/xcode_display.h"

#include <plist/plist.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <utility>

namespace vorno {
namespace {

plist_t item(plist_t dictionary, const char* key) {
  return isDictionary(dictionary) ? plist_dict_get_item(dictionary, key) : nullptr;
}

std::optional<double> number(plist_t node) {
  if (!node) return std::nullopt;
  switch (plist_get_node_type(node)) {
    case PLIST_REAL: {
      double value = 0;
      plist_get_real_val(node, &value);
      if (!std::isfinite(value)) return std::nullopt;
      return value;
    }
    case PLIST_UINT: {
      // Property lists store signed integers; libplist hands them over as their 64-bit pattern.
      uint64_t value = 0;
      plist_get_uint_val(node, &value);
      return static_cast<double>(static_cast<int64_t>(value));
    }
    default: return std::nullopt;
  }
}

// An integer, or a real that holds a whole number, within the range a screen size can have.
std::optional<int> integer(plist_t node) {
  auto value = number(node);
  if (!value || *value != std::floor(*value) || std::abs(*value) > 1e9) return std::nullopt;
  return static_cast<int>(*value);
}

std::optional<std::string> string(plist_t node) {
  if (!node || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  uint64_t length = 0;
  const char* text = plist_get_string_ptr(node, &length);
  if (!text) return std::nullopt;
  return std::string(text, length);
}

// Sizes in a bundle may be written as reals; a size of a fraction of a pixel is cut, not rounded.
std::optional<int> pixels(plist_t node) {
  auto value = number(node);
  if (!value || std::abs(*value) > 1e9) return std::nullopt;
  return static_cast<int>(*value);
}

// Native-landscape panels are turned to portrait and lose what was measured in landscape.
void makePortrait(XcodeDisplay& display) {
  if (display.width <= display.height) return;
  std::swap(display.width, display.height);
  display.mask.reset();
  display.corners.reset();
}

std::vector<XcodeDisplay> fromCapabilities(plist_t capabilities, plist_t profile) {
  std::vector<XcodeDisplay> out;
  plist_t displays = item(capabilities, "displays");
  if (!displays || plist_get_node_type(displays) != PLIST_ARRAY) return out;
  uint32_t count = plist_array_get_size(displays);
  // The list counts only if every entry is a dictionary, as a typed array would.
  for (uint32_t i = 0; i < count; ++i)
    if (!isDictionary(plist_array_get_item(displays, i))) return out;
  for (uint32_t i = 0; i < count; ++i) {
    plist_t entry = plist_array_get_item(displays, i);
    if (string(item(entry, "displayType")) != "integrated") continue;
    auto width = pixels(item(entry, "width"));
    auto height = pixels(item(entry, "height"));
    auto scale = number(item(entry, "scale"));
    if (!width || !height || !scale) continue;
    XcodeDisplay display;
    display.width = *width;
    display.height = *height;
    display.scale = *scale;
    auto ul = number(item(entry, "cornerRadiusUL")), ur = number(item(entry, "cornerRadiusUR"));
    auto ll = number(item(entry, "cornerRadiusLL")), lr = number(item(entry, "cornerRadiusLR"));
    if (ul && ur && ll && lr) display.corners = XcodeDisplay::Corners{*ul, *ur, *ll, *lr};
    display.mask = string(item(entry, "framebufferMaskIdentifier"));
    if (!display.mask) display.mask = string(item(profile, "framebufferMask"));
    makePortrait(display);
    out.push_back(std::move(display));
  }
  return out;
}

}  // namespace

std::vector<XcodeDisplay> XcodeDisplay::all(plist_t capabilities, plist_t profile) {
  std::vector<XcodeDisplay> out = fromCapabilities(capabilities, profile);
  if (!out.empty()) return out;
  auto width = integer(item(profile, "mainScreenWidth"));
  auto height = integer(item(profile, "mainScreenHeight"));
  auto scale = number(item(profile, "mainScreenScale"));
  if (!width || !height || !scale) return out;
  XcodeDisplay display;
  display.width = *width;
  display.height = *height;
  display.scale = *scale;
  display.mask = string(item(profile, "framebufferMask"));
  makePortrait(display);
  out.push_back(std::move(display));
  return out;
}

bool isDictionary(plist_t node) { return node && plist_get_node_type(node) == PLIST_DICT; }

plist_t readPropertyList(const std::string& path) {
  // Not readRegularFile: this read stops at a size limit instead of taking the whole file.
  // Device-type property lists are a few kilobytes; anything huge is not one of them.
  std::ifstream in(path, std::ios::binary);
  if (!in) return nullptr;
  constexpr size_t limit = 16 << 20;
  std::string bytes;
  char buffer[65536];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
    bytes.append(buffer, static_cast<size_t>(in.gcount()));
    if (bytes.size() > limit) return nullptr;
  }
  if (bytes.empty()) return nullptr;
  plist_t root = nullptr;
  plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
  return root;
}

}  // namespace vorno
