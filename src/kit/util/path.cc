#include "kit/util/path.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorno {

namespace {
// Handle length of a cubic quarter circle of radius 1.
constexpr double kappa = 0.5522847498307936;

struct Extent {
  double x0 = std::numeric_limits<double>::infinity(), y0 = x0;
  double x1 = -std::numeric_limits<double>::infinity(), y1 = x1;
  void add(Point p) {
    x0 = std::min(x0, p.x), x1 = std::max(x1, p.x);
    y0 = std::min(y0, p.y), y1 = std::max(y1, p.y);
  }
  Rect rect() const { return x0 > x1 ? Rect{} : Rect{x0, y0, x1 - x0, y1 - y0}; }
};

double cubicAt(double p0, double p1, double p2, double p3, double t) {
  double u = 1 - t;
  return u * u * u * p0 + 3 * u * u * t * p1 + 3 * u * t * t * p2 + t * t * t * p3;
}

// Parameters in (0, 1) where one coordinate of a cubic has a derivative of zero.
void cubicExtrema(double p0, double p1, double p2, double p3, double out[2], int& count) {
  count = 0;
  double a = -p0 + 3 * p1 - 3 * p2 + p3, b = 2 * (p0 - 2 * p1 + p2), c = p1 - p0;
  auto keep = [&](double t) {
    if (t > 0 && t < 1) out[count++] = t;
  };
  if (std::abs(a) < 1e-12) {
    if (std::abs(b) > 1e-12) keep(-c / b);
    return;
  }
  double disc = b * b - 4 * a * c;
  if (disc < 0) return;
  double root = std::sqrt(disc);
  keep((-b + root) / (2 * a));
  keep((-b - root) / (2 * a));
}
}  // namespace

void Path::moveTo(Point p) {
  elements_.push_back({Verb::move, {p, {}, {}}});
  current_ = subpathStart_ = p;
}

void Path::lineTo(Point p) {
  if (elements_.empty()) return moveTo(p);
  elements_.push_back({Verb::line, {p, {}, {}}});
  current_ = p;
}

void Path::curveTo(Point c1, Point c2, Point end) {
  if (elements_.empty()) moveTo(c1);
  elements_.push_back({Verb::curve, {c1, c2, end}});
  current_ = end;
}

void Path::quadTo(Point q, Point end) {
  Point p0 = current_;
  Point c1{p0.x + 2.0 / 3.0 * (q.x - p0.x), p0.y + 2.0 / 3.0 * (q.y - p0.y)};
  Point c2{end.x + 2.0 / 3.0 * (q.x - end.x), end.y + 2.0 / 3.0 * (q.y - end.y)};
  curveTo(c1, c2, end);
}

void Path::close() {
  if (elements_.empty() || elements_.back().verb == Verb::close) return;
  elements_.push_back({Verb::close, {}});
  current_ = subpathStart_;
}

void Path::addRect(const Rect& r) {
  moveTo({r.minX(), r.minY()});
  lineTo({r.maxX(), r.minY()});
  lineTo({r.maxX(), r.maxY()});
  lineTo({r.minX(), r.maxY()});
  close();
}

void Path::addEllipse(const Rect& r) {
  double cx = r.midX(), cy = r.midY(), rx = r.width / 2, ry = r.height / 2;
  double kx = rx * kappa, ky = ry * kappa;
  moveTo({cx + rx, cy});
  curveTo({cx + rx, cy + ky}, {cx + kx, cy + ry}, {cx, cy + ry});
  curveTo({cx - kx, cy + ry}, {cx - rx, cy + ky}, {cx - rx, cy});
  curveTo({cx - rx, cy - ky}, {cx - kx, cy - ry}, {cx, cy - ry});
  curveTo({cx + kx, cy - ry}, {cx + rx, cy - ky}, {cx + rx, cy});
  close();
}

void Path::addRoundedRect(const Rect& r, double radius) {
  double rr = std::clamp(radius, 0.0, std::min(r.width, r.height) / 2);
  if (rr <= 0) return addRect(r);
  double k = rr * kappa;
  double x0 = r.minX(), x1 = r.maxX(), y0 = r.minY(), y1 = r.maxY();
  moveTo({x0 + rr, y0});
  lineTo({x1 - rr, y0});
  curveTo({x1 - rr + k, y0}, {x1, y0 + rr - k}, {x1, y0 + rr});
  lineTo({x1, y1 - rr});
  curveTo({x1, y1 - rr + k}, {x1 - rr + k, y1}, {x1 - rr, y1});
  lineTo({x0 + rr, y1});
  curveTo({x0 + rr - k, y1}, {x0, y1 - rr + k}, {x0, y1 - rr});
  lineTo({x0, y0 + rr});
  curveTo({x0, y0 + rr - k}, {x0 + rr - k, y0}, {x0 + rr, y0});
  close();
}

void Path::append(const Path& other) {
  elements_.insert(elements_.end(), other.elements_.begin(), other.elements_.end());
  if (!other.elements_.empty()) {
    current_ = other.current_;
    subpathStart_ = other.subpathStart_;
  }
}

Rect Path::controlBounds() const {
  Extent e;
  for (const auto& el : elements_) {
    int n = el.verb == Verb::curve ? 3 : el.verb == Verb::close ? 0 : 1;
    for (int i = 0; i < n; ++i) e.add(el.points[i]);
  }
  return e.rect();
}

Rect Path::bounds() const {
  Extent e;
  Point last{}, start{};
  for (const auto& el : elements_) {
    switch (el.verb) {
      case Verb::move:
        start = el.points[0];
        [[fallthrough]];
      case Verb::line:
        e.add(el.points[0]);
        last = el.points[0];
        break;
      case Verb::curve: {
        const Point &c1 = el.points[0], &c2 = el.points[1], &p = el.points[2];
        e.add(p);
        double ts[2];
        int n;
        cubicExtrema(last.x, c1.x, c2.x, p.x, ts, n);
        for (int i = 0; i < n; ++i)
          e.add({cubicAt(last.x, c1.x, c2.x, p.x, ts[i]), cubicAt(last.y, c1.y, c2.y, p.y, ts[i])});
        cubicExtrema(last.y, c1.y, c2.y, p.y, ts, n);
        for (int i = 0; i < n; ++i)
          e.add({cubicAt(last.x, c1.x, c2.x, p.x, ts[i]), cubicAt(last.y, c1.y, c2.y, p.y, ts[i])});
        last = p;
        break;
      }
      case Verb::close:
        last = start;
        break;
    }
  }
  return e.rect();
}

Path Path::transformed(const AffineTransform& t) const {
  Path out = *this;
  for (auto& el : out.elements_)
    for (auto& p : el.points) p = t.apply(p);
  out.current_ = t.apply(current_);
  out.subpathStart_ = t.apply(subpathStart_);
  return out;
}

}  // namespace vorno
