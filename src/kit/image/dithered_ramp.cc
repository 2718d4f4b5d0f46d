// A ramp over a slide's height moves by about one 8-bit level every dozen pixels, and rounding
// each pixel to its nearest level turns it into stripes. Adding a threshold from an 8×8 Bayer
// matrix before truncating spreads each step over the pixels around it: the mean of every 8×8
// tile is the exact ramp, and no band of one value is wider than a few pixels.
// A row of one value is left only where the ramp sits within 1/64 of a level of a whole one: a
// fifth of a pixel on a steep slide ramp, a few pixels on the calmest. The Bayer matrix spreads
// neighbouring thresholds far apart, so the texture is too fine to see; it costs one table read.
//
// Speed matters: a slide background is four million pixels. Colours come from a table of 4096
// steps along the ramp, in fixed point with 8 bits below the level, so a pixel is a position
// along the ramp, one table read and four adds, and four pixels are dithered and packed at once;
// a ramp that doesn't change along a row (the common vertical background) is worked out once per
// row and repeated, and a radial one takes its square roots two at a time.
#include "kit/image/dithered_ramp.h"

#include "kit/image/cairo_util.h"

#include <cairo.h>
#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace vorno::DitheredRamp {
namespace {

// The classic 8×8 ordered-dither thresholds, 0..63.
constexpr uint8_t bayer[8][8] = {
    {0, 32, 8, 40, 2, 34, 10, 42},   {48, 16, 56, 24, 50, 18, 58, 26}, {12, 44, 4, 36, 14, 46, 6, 38},
    {60, 28, 52, 20, 62, 30, 54, 22}, {3, 35, 11, 43, 1, 33, 9, 41},   {51, 19, 59, 27, 49, 17, 57, 25},
    {15, 47, 7, 39, 13, 45, 5, 37},   {63, 31, 55, 23, 61, 29, 53, 21}};

// The threshold in 1/256 of a level: (b + ½) / 64 of a level, so the tile's mean is unbiased.
constexpr uint32_t threshold(int x, int y) { return uint32_t(bayer[y & 7][x & 7]) * 4 + 2; }

constexpr int steps = 4096;

// Premultiplied channels in 1/256 of a level (0...65280), one 16-bit lane each, from the lowest:
// blue, green, red, alpha, the order of an ARGB32 word's bytes. A threshold (under 256) added to
// every lane never carries into the next.
using Entry = uint64_t;

Entry lanes(uint64_t b, uint64_t g, uint64_t r, uint64_t a) { return b | g << 16 | r << 32 | a << 48; }

// The stops are interpolated as cairo does: straight colour and alpha, then premultiplied.
std::vector<Entry> table(const std::vector<RGBColor>& colors) {
  std::vector<Entry> entries(steps);
  const double segments = double(colors.size() - 1);
  auto fixed = [](double v) { return uint64_t(std::lround(std::clamp(v, 0.0, 1.0) * 255.0 * 256.0)); };
  for (int i = 0; i < steps; ++i) {
    const double t = double(i) / (steps - 1) * segments;
    const size_t k = std::min(colors.size() - 2, size_t(t));
    const double f = t - double(k);
    const RGBColor& a = colors[k];
    const RGBColor& b = colors[k + 1];
    const double alpha = a.a + (b.a - a.a) * f;
    entries[i] = lanes(fixed((a.b + (b.b - a.b) * f) * alpha), fixed((a.g + (b.g - a.g) * f) * alpha),
                       fixed((a.r + (b.r - a.r) * f) * alpha), fixed(alpha));
  }
  return entries;
}

// Adds the threshold to all four lanes, keeps each lane's level and packs the four bytes.
uint32_t dithered(Entry e, uint32_t th) {
  uint64_t s = ((e + th * 0x0001000100010001ULL) >> 8) & 0x00FF00FF00FF00FFULL;
  s = (s | (s >> 8)) & 0x0000FFFF0000FFFFULL;
  return uint32_t(s | (s >> 16));
}

// The device pixels of the fill that can show: the path, the clip and `rect`, in device space.
struct Box {
  int x = 0, y = 0, width = 0, height = 0;
};

bool visibleBox(cairo_t* cr, const Rect& rect, Box& box) {
  double x0, y0, x1, y1, cx0, cy0, cx1, cy1;
  cairo_fill_extents(cr, &x0, &y0, &x1, &y1);
  cairo_clip_extents(cr, &cx0, &cy0, &cx1, &cy1);
  const double left = std::max({x0, cx0, rect.minX()}), right = std::min({x1, cx1, rect.maxX()});
  const double top = std::max({y0, cy0, rect.minY()}), bottom = std::min({y1, cy1, rect.maxY()});
  if (!(right > left) || !(bottom > top)) return false;
  double xs[4] = {left, right, right, left}, ys[4] = {top, top, bottom, bottom};
  double dx0 = INFINITY, dy0 = INFINITY, dx1 = -INFINITY, dy1 = -INFINITY;
  for (int i = 0; i < 4; ++i) {
    cairo_user_to_device(cr, &xs[i], &ys[i]);
    dx0 = std::min(dx0, xs[i]), dx1 = std::max(dx1, xs[i]);
    dy0 = std::min(dy0, ys[i]), dy1 = std::max(dy1, ys[i]);
  }
  dx0 = std::floor(dx0), dy0 = std::floor(dy0), dx1 = std::ceil(dx1), dy1 = std::ceil(dy1);
  // Beyond this a bitmap of its own is more than any canvas of ours; cairo paints it instead.
  constexpr double largest = 16384;
  if (!(dx1 - dx0 >= 1) || !(dy1 - dy0 >= 1) || dx1 - dx0 > largest || dy1 - dy0 > largest) return false;
  if (std::fabs(dx0) > 1e6 || std::fabs(dy0) > 1e6) return false;
  box = {int(dx0), int(dy0), int(dx1 - dx0), int(dy1 - dy0)};
  return true;
}

// Where a device pixel lies along the ramp, as a fractional index into the table. A linear ramp
// is affine in device space: position = at + x·dx + y·dy. A radial one is a distance from the
// centre, with the user-space point affine in device space.
struct Walker {
  RampGeometry::Shape shape;
  double at = 0, dx = 0, dy = 0;                         // linear
  double ux = 0, uy = 0, uxx = 0, uyx = 0, uxy = 0, uyy = 0, scale = 0;  // radial

  double position(double x, double y) const {
    if (shape == RampGeometry::Shape::linear) return at + x * dx + y * dy;
    const double px = ux + x * uxx + y * uxy, py = uy + x * uyx + y * uyy;
    return std::sqrt(px * px + py * py) * scale;
  }
  bool constantAlongRows(int width) const {
    return shape == RampGeometry::Shape::linear && std::fabs(dx) * width < 0.25;
  }
};

bool makeWalker(cairo_t* cr, const RampGeometry& g, Walker& w) {
  cairo_matrix_t toUser;
  cairo_get_matrix(cr, &toUser);
  if (cairo_matrix_invert(&toUser) != CAIRO_STATUS_SUCCESS) return false;
  constexpr double last = steps - 1;
  w.shape = g.shape;
  if (g.shape == RampGeometry::Shape::linear) {
    const double vx = g.to.x - g.from.x, vy = g.to.y - g.from.y, length2 = vx * vx + vy * vy;
    if (!(length2 > 0)) return false;
    // t = ((u - from) · v) / |v|², with u = toUser · device.
    const double kx = vx / length2 * last, ky = vy / length2 * last;
    w.dx = toUser.xx * kx + toUser.yx * ky;
    w.dy = toUser.xy * kx + toUser.yy * ky;
    w.at = (toUser.x0 - g.from.x) * kx + (toUser.y0 - g.from.y) * ky;
    return true;
  }
  if (!(g.radius > 0)) return false;
  w.uxx = toUser.xx, w.uyx = toUser.yx, w.uxy = toUser.xy, w.uyy = toUser.yy;
  w.ux = toUser.x0 - g.from.x, w.uy = toUser.y0 - g.from.y;
  w.scale = last / g.radius;
  return true;
}

int index(double position) { return int(std::clamp(position, 0.0, double(steps - 1)) + 0.5); }

// The thresholds of row `y` as 16-bit lanes for two neighbouring pixels: pairs[k] holds the
// threshold of column phase k four times, then that of phase k + 1 (mod 8) four times.
struct RowThresholds {
  __m128i pairs[8];
  explicit RowThresholds(int y) {
    for (int k = 0; k < 8; ++k) {
      const auto a = int16_t(threshold(k, y)), b = int16_t(threshold(k + 1, y));
      pairs[k] = _mm_set_epi16(b, b, b, b, a, a, a, a);
    }
  }
};

// Four table entries dithered and packed into four pixels at `out`, the first of them at column
// phase `phase`: the same adds and shifts as `dithered`, eight lanes at a time.
void storeFour(uint32_t* out, const Entry (&e)[4], const RowThresholds& row, int phase) {
  const __m128i first = _mm_add_epi16(_mm_set_epi64x(int64_t(e[1]), int64_t(e[0])), row.pairs[phase & 7]);
  const __m128i second = _mm_add_epi16(_mm_set_epi64x(int64_t(e[3]), int64_t(e[2])), row.pairs[(phase + 2) & 7]);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                   _mm_packus_epi16(_mm_srli_epi16(first, 8), _mm_srli_epi16(second, 8)));
}

// One row of a ramp that changes along it, four pixels at a time. A linear ramp steps through the
// table in fixed point (16 bits below a step); a radial one takes a square root per pixel.
void fillRow(uint32_t* out, const Box& box, int y, const Walker& walker, const std::vector<Entry>& entries) {
  const double cy = y + 0.5;
  const RowThresholds thresholds(y);
  Entry e[4];
  int col = 0;
  if (walker.shape == RampGeometry::Shape::linear) {
    constexpr double one = 65536;
    const double start = std::clamp(walker.position(box.x + 0.5, cy), -1e9, 1e9);
    int64_t at = int64_t(std::llround((start + 0.5) * one));
    const int64_t step = int64_t(std::llround(std::clamp(walker.dx, -1e6, 1e6) * one));
    auto entry = [&] {
      const int64_t i = std::clamp<int64_t>(at >> 16, 0, steps - 1);
      at += step;
      return entries[size_t(i)];
    };
    for (; col + 4 <= box.width; col += 4) {
      for (Entry& each : e) each = entry();
      storeFour(out + col, e, thresholds, box.x + col);
    }
    for (; col < box.width; ++col) out[col] = dithered(entry(), threshold(box.x + col, y));
    return;
  }
  // Radial: the square roots two at a time from the vector unit. These are the same IEEE
  // operations in the same order as `position` and `index`, so every pixel is what one at a time
  // gives.
  const __m128d ux = _mm_set1_pd(walker.ux), uy = _mm_set1_pd(walker.uy);
  const __m128d uxx = _mm_set1_pd(walker.uxx), uyx = _mm_set1_pd(walker.uyx);
  const __m128d rowX = _mm_set1_pd(cy * walker.uxy), rowY = _mm_set1_pd(cy * walker.uyy);
  const __m128d scale = _mm_set1_pd(walker.scale), last = _mm_set1_pd(steps - 1), half = _mm_set1_pd(0.5);
  auto twoEntries = [&](int x, Entry* pair) {
    const __m128d centres = _mm_set_pd(x + 1 + 0.5, x + 0.5);
    const __m128d px = _mm_add_pd(_mm_add_pd(ux, _mm_mul_pd(centres, uxx)), rowX);
    const __m128d py = _mm_add_pd(_mm_add_pd(uy, _mm_mul_pd(centres, uyx)), rowY);
    const __m128d position = _mm_mul_pd(_mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(px, px), _mm_mul_pd(py, py))), scale);
    const __m128i indices =
        _mm_cvttpd_epi32(_mm_add_pd(_mm_min_pd(_mm_max_pd(position, _mm_setzero_pd()), last), half));
    pair[0] = entries[size_t(_mm_cvtsi128_si32(indices))];
    pair[1] = entries[size_t(_mm_cvtsi128_si32(_mm_srli_si128(indices, 4)))];
  };
  for (; col + 4 <= box.width; col += 4) {
    twoEntries(box.x + col, e);
    twoEntries(box.x + col + 2, e + 2);
    storeFour(out + col, e, thresholds, box.x + col);
  }
  for (; col < box.width; ++col) {
    const int x = box.x + col;
    out[col] = dithered(entries[index(walker.position(x + 0.5, cy))], threshold(x, y));
  }
}

// Rows of `box` into `data`, whose first pixel is the box's top left.
void fillRows(uint8_t* data, int stride, const Box& box, const Walker& walker, const std::vector<Entry>& entries) {
  for (int row = 0; row < box.height; ++row) {
    auto* out = reinterpret_cast<uint32_t*>(data + size_t(row) * size_t(stride));
    const int y = box.y + row;
    if (!walker.constantAlongRows(box.width)) {
      fillRow(out, box, y, walker, entries);
      continue;
    }
    // The whole row is one colour: eight dithered pixels, repeated.
    const Entry e = entries[index(walker.position(box.x + box.width * 0.5, y + 0.5))];
    uint32_t pattern[8];
    for (int k = 0; k < 8; ++k) pattern[(box.x + k) & 7] = dithered(e, threshold(box.x + k, y));
    for (int col = 0; col < box.width; ++col) out[col] = pattern[(box.x + col) & 7];
  }
}

// An opaque ramp over a pixel-aligned rectangle of a plain image surface, drawn with no scale,
// no group and a clip that is one aligned rectangle, can be written straight into the surface's
// pixels: that is how a slide's background is painted, and it saves a bitmap as large as the
// slide and a pass to copy it. `box` is narrowed to the rectangle and the clip.
bool directBox(cairo_t* cr, const Rect& rect, Box& box, uint8_t*& data, int& stride) {
  const cairo_operator_t op = cairo_get_operator(cr);
  if (op != CAIRO_OPERATOR_OVER && op != CAIRO_OPERATOR_SOURCE) return false;
  const std::optional<DirectPixels> target = directPixels(cr);
  if (!target) return false;
  cairo_matrix_t m;
  cairo_get_matrix(cr, &m);
  auto whole = [](double v) { return v == std::floor(v) && std::fabs(v) < 1e6; };
  if (m.xx != 1 || m.yy != 1 || m.xy != 0 || m.yx != 0 || !whole(m.x0) || !whole(m.y0)) return false;
  if (!whole(rect.x) || !whole(rect.y) || !whole(rect.width) || !whole(rect.height)) return false;
  const int left = std::max(int(rect.minX() + m.x0), target->clipLeft);
  const int right = std::min(int(rect.maxX() + m.x0), target->clipRight);
  const int top = std::max(int(rect.minY() + m.y0), target->clipTop);
  const int bottom = std::min(int(rect.maxY() + m.y0), target->clipBottom);
  if (right <= left || bottom <= top) return false;
  box = {left, top, right - left, bottom - top};
  stride = target->stride;
  data = target->data + size_t(top) * size_t(stride) + size_t(left) * 4;
  return true;
}

}  // namespace

bool paint(cairo_t* cr, const RampGeometry& geometry, const std::vector<RGBColor>& colors, const Rect& rect) {
  if (colors.size() < 2) return false;
  Box box;
  Walker walker;
  if (!visibleBox(cr, rect, box) || !makeWalker(cr, geometry, walker)) return false;
  const bool opaque = std::all_of(colors.begin(), colors.end(), [](const RGBColor& c) { return c.a >= 1; });
  uint8_t* pixels = nullptr;
  int pixelStride = 0;
  if (opaque && directBox(cr, rect, box, pixels, pixelStride)) {
    fillRows(pixels, pixelStride, box, walker, table(colors));
    cairo_surface_mark_dirty_rectangle(cairo_get_target(cr), box.x, box.y, box.width, box.height);
    cairo_new_path(cr);
    return true;
  }
  // An opaque bitmap lets pixman copy instead of blending.
  CairoSurfacePtr bitmap(
      newImageSurface(opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, box.width, box.height));
  if (cairo_surface_status(bitmap.get()) != CAIRO_STATUS_SUCCESS) return false;
  cairo_surface_flush(bitmap.get());
  fillRows(cairo_image_surface_get_data(bitmap.get()), cairo_image_surface_get_stride(bitmap.get()), box, walker,
           table(colors));
  cairo_surface_mark_dirty(bitmap.get());

  // Bitmap pixel (i, j) is device pixel (box.x + i, box.y + j): user -> device -> bitmap.
  CairoPatternPtr pattern(cairo_pattern_create_for_surface(bitmap.get()));
  cairo_matrix_t toBitmap, ctm;
  cairo_get_matrix(cr, &ctm);
  cairo_matrix_init_translate(&toBitmap, -box.x, -box.y);
  cairo_matrix_multiply(&toBitmap, &ctm, &toBitmap);
  cairo_pattern_set_matrix(pattern.get(), &toBitmap);
  cairo_pattern_set_filter(pattern.get(), CAIRO_FILTER_NEAREST);
  cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
  cairo_set_source(cr, pattern.get());
  cairo_fill(cr);
  return true;
}

}  // namespace vorno::DitheredRamp
