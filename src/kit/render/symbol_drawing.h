// SymbolDrawing: a named symbol (an icon of the installed set, found through Symbols) drawn in
// one colour, as large as fits a rectangle and centred in it.
#pragma once

#include "kit/model/color.h"
#include "kit/util/geometry.h"

#include <optional>
#include <string_view>

typedef struct _cairo cairo_t;

namespace vorno::SymbolDrawing {

/// Where the icon lands in `rect`: its natural box scaled to fit, centred; nothing for a name
/// that doesn't resolve or an icon without a size.
std::optional<Rect> symbolRect(std::string_view name, const Rect& rect);

/// Draws the symbol tinted `color`; an unknown name or unreadable icon draws nothing.
void drawSymbol(std::string_view name, const RGBColor& color, const Rect& rect, cairo_t* cr);

}  // namespace vorno::SymbolDrawing
