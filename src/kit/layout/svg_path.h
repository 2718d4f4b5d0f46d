// SVGPath: the path data of a `path` shape ("M0 0 L10 10 Z") turned into a Path.
//
// A strict, small parser of the SVG path grammar. Its errors are sentences an agent reads to
// repair its input, so it refuses rather than guesses:
//
//   Path p = SVGPath::parse("M10 80 C40 10 65 10 95 80 S150 150 180 80");
//   SVGPath::parse("10 10");   // throws VornoError::invalid "Path data needs a command ..."
//
// Coordinates stay in the data's own space (y down, as SVG and cairo draw); whoever draws the
// path fits its bounds to a frame.
#pragma once

#include "kit/util/path.h"

#include <string_view>

namespace vorno::SVGPath {

/// Parses path data: the commands M L H V C S Q T A Z in both cases, implicit repetition, arcs
/// as cubic curves. Throws VornoError::invalid with one sentence on bad data or when nothing
/// is drawn.
Path parse(std::string_view data);

}  // namespace vorno::SVGPath
