// The document's plain enumerations, stored in project.json by their raw values.
#pragma once

#include "kit/model/enum_names.h"

#include <array>
#include <string_view>

namespace vorno {

enum class FontWeight { regular, medium, semibold, bold, heavy, black };
/// How `**x**` stands out in a text.
enum class EmphasisStyle { color, highlight, marker, sticker };
/// The arrangement of a slide's text and device.
enum class Archetype { hero, deviceTop, textOnly };
enum class TextRole { eyebrow, headline, subhead, caption };
enum class TextAlign { left, center, right };
enum class ShapeKind { rectangle, roundedRectangle, capsule, circle, arrow, path };
/// The twelve separable blend modes an element can be drawn with.
enum class BlendMode {
  normal,
  multiply,
  screen,
  overlay,
  darken,
  lighten,
  colorDodge,
  colorBurn,
  softLight,
  hardLight,
  difference,
  exclusion
};

template <>
struct EnumNames<FontWeight> {
  static constexpr std::string_view typeName = "FontWeight";
  static constexpr std::array<std::string_view, 6> names{"regular", "medium", "semibold", "bold", "heavy", "black"};
};
template <>
struct EnumNames<EmphasisStyle> {
  static constexpr std::string_view typeName = "EmphasisStyle";
  static constexpr std::array<std::string_view, 4> names{"color", "highlight", "marker", "sticker"};
};
template <>
struct EnumNames<Archetype> {
  static constexpr std::string_view typeName = "Archetype";
  static constexpr std::array<std::string_view, 3> names{"hero", "device-top", "text-only"};
};
template <>
struct EnumNames<TextRole> {
  static constexpr std::string_view typeName = "TextRole";
  static constexpr std::array<std::string_view, 4> names{"eyebrow", "headline", "subhead", "caption"};
};
template <>
struct EnumNames<TextAlign> {
  static constexpr std::string_view typeName = "TextAlign";
  static constexpr std::array<std::string_view, 3> names{"left", "center", "right"};
};
template <>
struct EnumNames<ShapeKind> {
  static constexpr std::string_view typeName = "ShapeKind";
  static constexpr std::array<std::string_view, 6> names{"rectangle", "rounded-rectangle", "capsule",
                                                         "circle",    "arrow",             "path"};
};
template <>
struct EnumNames<BlendMode> {
  static constexpr std::string_view typeName = "BlendMode";
  static constexpr std::array<std::string_view, 12> names{
      "normal",      "multiply",   "screen",     "overlay",    "darken",     "lighten",
      "color-dodge", "color-burn", "soft-light", "hard-light", "difference", "exclusion"};
};

}  // namespace vorno
