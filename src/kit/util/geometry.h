// Plain 2D geometry shared by every module: points, sizes, rectangles and affine transforms.
// Canvas space is y down with the origin at the top left, as cairo draws.
#pragma once

#include <algorithm>
#include <cmath>

namespace vorno {

struct Point {
  double x = 0, y = 0;
  bool operator==(const Point&) const = default;
};

struct Size {
  double width = 0, height = 0;
  bool operator==(const Size&) const = default;
};

struct Rect {
  double x = 0, y = 0, width = 0, height = 0;
  bool operator==(const Rect&) const = default;

  double minX() const { return x; }
  double minY() const { return y; }
  double maxX() const { return x + width; }
  double maxY() const { return y + height; }
  double midX() const { return x + width / 2; }
  double midY() const { return y + height / 2; }
  Point center() const { return {midX(), midY()}; }
  Size size() const { return {width, height}; }
  /// No area: a width or height of zero or less.
  bool isEmpty() const { return !(width > 0) || !(height > 0); }
  /// Width times height; an empty rectangle has none.
  double area() const { return isEmpty() ? 0 : width * height; }

  /// Grown by `dx` on the left and right and `dy` at the top and bottom; negative shrinks.
  Rect insetBy(double dx, double dy) const { return {x + dx, y + dy, width - 2 * dx, height - 2 * dy}; }
  Rect outsetBy(double d) const { return insetBy(-d, -d); }
  Rect offsetBy(double dx, double dy) const { return {x + dx, y + dy, width, height}; }

  /// True when `other` lies wholly inside, edges included.
  bool contains(const Rect& other) const {
    return other.minX() >= minX() && other.maxX() <= maxX() && other.minY() >= minY() && other.maxY() <= maxY();
  }
  bool contains(Point p) const { return p.x >= minX() && p.x <= maxX() && p.y >= minY() && p.y <= maxY(); }
  /// The overlap; an empty rectangle (zero size at the origin) when there is none.
  Rect intersection(const Rect& other) const {
    double x0 = std::max(minX(), other.minX()), x1 = std::min(maxX(), other.maxX());
    double y0 = std::max(minY(), other.minY()), y1 = std::min(maxY(), other.maxY());
    if (x1 <= x0 || y1 <= y0) return {};
    return {x0, y0, x1 - x0, y1 - y0};
  }
  bool intersects(const Rect& other) const { return !intersection(other).isEmpty(); }
  /// The smallest rectangle holding both; an empty side is ignored.
  Rect united(const Rect& other) const {
    if (isEmpty()) return other;
    if (other.isEmpty()) return *this;
    double x0 = std::min(minX(), other.minX()), x1 = std::max(maxX(), other.maxX());
    double y0 = std::min(minY(), other.minY()), y1 = std::max(maxY(), other.maxY());
    return {x0, y0, x1 - x0, y1 - y0};
  }
  /// The bounding box of this rectangle turned by `degrees` about its own centre.
  Rect rotatedBounds(double degrees) const { return rotatedBounds(degrees, center()); }
  /// The bounding box of this rectangle turned by `degrees` about `pivot`.
  Rect rotatedBounds(double degrees, Point pivot) const {
    if (degrees == 0) return *this;
    double a = degrees * M_PI / 180, c = std::cos(a), s = std::sin(a);
    double xs[4] = {minX(), maxX(), maxX(), minX()}, ys[4] = {minY(), minY(), maxY(), maxY()};
    double x0 = INFINITY, x1 = -INFINITY, y0 = INFINITY, y1 = -INFINITY;
    for (int i = 0; i < 4; ++i) {
      double dx = xs[i] - pivot.x, dy = ys[i] - pivot.y;
      double rx = pivot.x + dx * c - dy * s, ry = pivot.y + dx * s + dy * c;
      x0 = std::min(x0, rx), x1 = std::max(x1, rx), y0 = std::min(y0, ry), y1 = std::max(y1, ry);
    }
    return {x0, y0, x1 - x0, y1 - y0};
  }
  /// Scaled by `factor` about its centre.
  Rect scaledAboutCenter(double factor) const {
    double w = width * factor, h = height * factor;
    return {midX() - w / 2, midY() - h / 2, w, h};
  }
};

/// x' = a x + c y + tx, y' = b x + d y + ty: the same six numbers as cairo_matrix_t.
struct AffineTransform {
  double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
  bool operator==(const AffineTransform&) const = default;

  static AffineTransform identity() { return {}; }
  static AffineTransform translation(double x, double y) { return {1, 0, 0, 1, x, y}; }
  static AffineTransform scaling(double sx, double sy) { return {sx, 0, 0, sy, 0, 0}; }
  static AffineTransform rotation(double radians) {
    double c = std::cos(radians), s = std::sin(radians);
    return {c, s, -s, c, 0, 0};
  }

  Point apply(Point p) const { return {a * p.x + c * p.y + tx, b * p.x + d * p.y + ty}; }
  /// First this transform, then `next`.
  AffineTransform then(const AffineTransform& next) const {
    return {a * next.a + b * next.c,           a * next.b + b * next.d,
            c * next.a + d * next.c,           c * next.b + d * next.d,
            tx * next.a + ty * next.c + next.tx, tx * next.b + ty * next.d + next.ty};
  }
};

}  // namespace vorno
