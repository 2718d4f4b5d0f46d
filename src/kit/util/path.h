// Path: a vector outline made of moves, lines, cubic curves and closes, the one path type of the
// library. SVG path data, screen shapes and glyph outlines all become a Path; the drawing code
// hands it to cairo (`appendPath` in kit/image/cairo_util.h).
#pragma once

#include "kit/util/geometry.h"

#include <vector>

namespace vorno {

class Path {
 public:
  enum class Verb { move, line, curve, close };
  struct Element {
    Verb verb;
    Point points[3];  ///< move and line use [0]; curve uses [0] and [1] as controls, [2] as end
    bool operator==(const Element&) const = default;
  };

  bool operator==(const Path&) const = default;

  void moveTo(Point p);
  void lineTo(Point p);
  void curveTo(Point c1, Point c2, Point end);
  /// A quadratic curve, stored as the equivalent cubic.
  void quadTo(Point control, Point end);
  void close();

  void addRect(const Rect& r);
  /// The ellipse inscribed in `r`, four cubic quarters.
  void addEllipse(const Rect& r);
  /// A rounded rectangle with circular corners of `radius` (clamped to half the shorter side).
  void addRoundedRect(const Rect& r, double radius);
  void append(const Path& other);

  const std::vector<Element>& elements() const { return elements_; }
  bool isEmpty() const { return elements_.empty(); }
  /// The point where the next segment starts (the last end point, or the subpath's start after
  /// a close); the origin for an empty path.
  Point currentPoint() const { return current_; }

  /// The bounding box of every point, control points of curves included; like the platform's
  /// path bounding box this is exact for lines and a safe cover for curves. Empty path: (0,0,0,0).
  Rect controlBounds() const;
  /// The tight box of the drawn outline: curves measured at their extremes.
  Rect bounds() const;
  Path transformed(const AffineTransform& t) const;

 private:
  std::vector<Element> elements_;
  Point current_{};
  Point subpathStart_{};
};

}  // namespace vorno
