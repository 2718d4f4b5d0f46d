// How it works: a cursor (`Tokens`) walks the bytes of the data. The main loop skips separators,
// then either reads a command letter or, when the next character is not a letter, repeats the
// command in force with new numbers. Each command reads its numbers, turns relative ones into
// absolute ones and adds segments to the Path. Three values carry across commands: the current
// point, the start of the subpath (where Z returns) and the last control point (which S and T
// reflect, but only straight after a curve of their own family).
//
// Arcs are converted by the endpoint-to-centre method: the chord is rotated into the ellipse's
// frame, radii too small to span it are scaled up, the centre and the two angles follow, and the
// sweep is cut into pieces of at most a quarter turn, each a cubic with handles of
// (4/3) tan(piece / 4) of the radius.
#include "kit/layout/svg_path.h"

#include "kit/util/vorno_error.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cctype>
#include <charconv>
#include <cmath>
#include <string>

namespace vorno::SVGPath {

namespace {

class Tokens {
 public:
  explicit Tokens(std::string_view text) : text_(text) {}

  bool atEnd() const { return pos_ >= text_.size(); }

  void skipSeparators() {
    while (!atEnd()) {
      char c = text_[pos_];
      if (c == ',' || c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v')
        ++pos_;
      else
        break;
    }
  }

  /// The letter at the cursor, as UTF-8 (one character), when it is a letter other than e and
  /// E; empty otherwise. A letter starts a command; anything else continues the last one.
  std::string peekLetter() const {
    if (atEnd()) return {};
    unsigned char c = static_cast<unsigned char>(text_[pos_]);
    if (c < 0x80) {
      bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
      if (!letter || c == 'e' || c == 'E') return {};
      return std::string(1, static_cast<char>(c));
    }
    // Non-ASCII: a letter of any script is still a letter, and an unknown command.
    int32_t i = static_cast<int32_t>(pos_);
    UChar32 cp;
    U8_NEXT(reinterpret_cast<const uint8_t*>(text_.data()), i, static_cast<int32_t>(text_.size()), cp);
    if (cp < 0 || !u_isalpha(cp)) return {};
    return std::string(text_.substr(pos_, static_cast<size_t>(i) - pos_));
  }

  void advance(size_t bytes) { pos_ += bytes; }

  /// A decimal number: sign, digits with an optional point, optional exponent.
  double number() {
    skipSeparators();
    size_t start = pos_, i = pos_;
    auto digit = [&](size_t k) { return k < text_.size() && text_[k] >= '0' && text_[k] <= '9'; };
    if (i < text_.size() && (text_[i] == '+' || text_[i] == '-')) ++i;
    size_t mantissa = i;
    while (digit(i)) ++i;
    bool intDigits = i > mantissa;
    bool fracDigits = false;
    if (i < text_.size() && text_[i] == '.') {
      size_t f = i + 1;
      while (digit(f)) ++f;
      fracDigits = f > i + 1;
      if (intDigits || fracDigits) i = f;
    }
    if (!intDigits && !fracDigits) throw expected(start);
    // An exponent only when digits follow, so that "1e" leaves the "e" to be refused next.
    if (i < text_.size() && (text_[i] == 'e' || text_[i] == 'E')) {
      size_t k = i + 1;
      if (k < text_.size() && (text_[k] == '+' || text_[k] == '-')) ++k;
      if (digit(k)) {
        while (digit(k)) ++k;
        i = k;
      }
    }
    // from_chars takes no leading "+".
    size_t from = text_[start] == '+' ? start + 1 : start;
    double value = 0;
    auto [end, ec] = std::from_chars(text_.data() + from, text_.data() + i, value);
    if (ec != std::errc() || end != text_.data() + i || !std::isfinite(value)) throw expected(start);
    pos_ = i;
    return value;
  }

  /// One character "0" or "1"; nothing else is needed after it, so "01" is two flags.
  bool flag() {
    skipSeparators();
    if (!atEnd() && (text_[pos_] == '0' || text_[pos_] == '1')) return text_[pos_++] == '1';
    throw VornoError::invalid("An arc needs 0 or 1 flags.");
  }

 private:
  /// The index counts characters, not bytes, so it points at the right place in any text.
  VornoError expected(size_t bytePos) const {
    size_t index = 0;
    for (size_t k = 0; k < bytePos && k < text_.size(); ++k)
      if ((static_cast<unsigned char>(text_[k]) & 0xC0) != 0x80) ++index;
    return VornoError::invalid("Path data expected a number at character " + std::to_string(index));
  }

  std::string_view text_;
  size_t pos_ = 0;
};

constexpr const char* kTooLarge = "Path data reaches coordinates too large to draw. Use smaller numbers.";

Point add(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
Point reflect(Point control, Point about) { return {2 * about.x - control.x, 2 * about.y - control.y}; }

// Appends the arc from the current point to `end` as cubic curves.
void arcTo(Path& path, Point from, double rx, double ry, double rotationDegrees, bool largeArc, bool sweep,
           Point end) {
  // Coinciding end points draw nothing; a zero radius is a straight line.
  if (from == end) return;
  rx = std::abs(rx), ry = std::abs(ry);
  if (rx == 0 || ry == 0) return path.lineTo(end);

  double phi = rotationDegrees * M_PI / 180, cosPhi = std::cos(phi), sinPhi = std::sin(phi);
  double dx = (from.x - end.x) / 2, dy = (from.y - end.y) / 2;
  double x1 = cosPhi * dx + sinPhi * dy, y1 = -sinPhi * dx + cosPhi * dy;

  double lambda = (x1 * x1) / (rx * rx) + (y1 * y1) / (ry * ry);
  if (lambda > 1) {
    double s = std::sqrt(lambda);
    rx *= s, ry *= s;
  }
  double rx2 = rx * rx, ry2 = ry * ry, x12 = x1 * x1, y12 = y1 * y1;
  double denominator = rx2 * y12 + ry2 * x12;
  double root = denominator > 0 ? std::sqrt(std::max(0.0, (rx2 * ry2 - denominator) / denominator)) : 0;
  if (largeArc == sweep) root = -root;
  double cxp = root * rx * y1 / ry, cyp = -root * ry * x1 / rx;
  double cx = cosPhi * cxp - sinPhi * cyp + (from.x + end.x) / 2;
  double cy = sinPhi * cxp + cosPhi * cyp + (from.y + end.y) / 2;

  double theta1 = std::atan2((y1 - cyp) / ry, (x1 - cxp) / rx);
  double theta2 = std::atan2((-y1 - cyp) / ry, (-x1 - cxp) / rx);
  double delta = theta2 - theta1;
  if (!sweep && delta > 0) delta -= 2 * M_PI;
  if (sweep && delta < 0) delta += 2 * M_PI;
  // Radii near the largest number square to infinity, and the centre then comes out as NaN.
  if (!std::isfinite(delta) || !std::isfinite(cx) || !std::isfinite(cy)) throw VornoError::invalid(kTooLarge);

  int pieces = std::max(1, static_cast<int>(std::ceil(std::abs(delta) / (M_PI / 2) - 1e-9)));
  double step = delta / pieces;
  double handle = 4.0 / 3.0 * std::tan(step / 4);
  // A point of the unit circle at angle t, stretched to the radii, turned and moved to the centre.
  auto map = [&](double ux, double uy) {
    double x = ux * rx, y = uy * ry;
    return Point{cosPhi * x - sinPhi * y + cx, sinPhi * x + cosPhi * y + cy};
  };
  double t = theta1;
  for (int i = 0; i < pieces; ++i) {
    double t2 = t + step;
    double c0 = std::cos(t), s0 = std::sin(t), c1 = std::cos(t2), s1 = std::sin(t2);
    Point p1 = map(c0 - handle * s0, s0 + handle * c0);
    Point p2 = map(c1 + handle * s1, s1 - handle * c1);
    Point p3 = i == pieces - 1 ? end : map(c1, s1);
    path.curveTo(p1, p2, p3);
    t = t2;
  }
}

bool isCommand(char c) {
  switch (c) {
    case 'M': case 'L': case 'H': case 'V': case 'C': case 'S': case 'Q': case 'T': case 'A': case 'Z':
      return true;
    default:
      return false;
  }
}

// Reads the commands one after the other and draws them; what carries from one command to the
// next is kept here.
class PathReader {
 public:
  explicit PathReader(std::string_view data) : tokens_(data) {}

  Path read() {
    while (nextCommand()) {
      draw();
      previous_ = command_;
    }
    if (path_.isEmpty()) throw VornoError::invalid("Path data is empty.");
    refuseEndlessBounds();
    return path_;
  }

 private:
  // Takes the next command letter, or keeps the command in force when numbers follow instead;
  // false at the end of the data.
  bool nextCommand() {
    tokens_.skipSeparators();
    if (tokens_.atEnd()) return false;
    std::string letter = tokens_.peekLetter();
    if (!letter.empty()) {
      if (letter.size() != 1 || !isCommand(static_cast<char>(std::toupper(letter[0]))))
        throw VornoError::invalid("Unknown path command " + letter + ". Use M L H V C S Q T A Z.");
      tokens_.advance(1);
      command_ = letter[0];
      return true;
    }
    // Numbers repeat the command in force; there must be one, and Z takes no numbers.
    if (command_ == 0 || command_ == 'Z' || command_ == 'z')
      throw VornoError::invalid("Path data needs a command (M, L, C, …) before its numbers.");
    // A repeated move draws lines.
    if (command_ == 'M') command_ = 'L';
    if (command_ == 'm') command_ = 'l';
    return true;
  }

  bool relative() const { return command_ >= 'a' && command_ <= 'z'; }

  Point point() {
    double x = tokens_.number();
    double y = tokens_.number();
    return relative() ? add(current_, {x, y}) : Point{x, y};
  }

  // Segments other than M need a point to start from; data that begins without one starts at the
  // origin, as SVG's current point does.
  void ensureStart() {
    if (path_.isEmpty()) path_.moveTo(current_);
  }

  void draw() {
    switch (std::toupper(command_)) {
      case 'Z':
        path_.close();
        current_ = subpathStart_;
        break;
      case 'M':
        current_ = subpathStart_ = point();
        path_.moveTo(current_);
        break;
      case 'L': lineTo(point()); break;
      case 'H': lineTo({tokens_.number() + (relative() ? current_.x : 0), current_.y}); break;
      case 'V': lineTo({current_.x, tokens_.number() + (relative() ? current_.y : 0)}); break;
      case 'C': {
        Point c1 = point(), c2 = point();
        curveTo(c1, c2, point());
        break;
      }
      case 'S': {
        bool afterCubic = previous_ == 'C' || previous_ == 'c' || previous_ == 'S' || previous_ == 's';
        Point c1 = afterCubic ? reflect(lastControl_, current_) : current_;
        Point c2 = point();
        curveTo(c1, c2, point());
        break;
      }
      case 'Q': {
        Point q = point();
        quadTo(q, point());
        break;
      }
      case 'T': {
        bool afterQuad = previous_ == 'Q' || previous_ == 'q' || previous_ == 'T' || previous_ == 't';
        quadTo(afterQuad ? reflect(lastControl_, current_) : current_, point());
        break;
      }
      case 'A': arc(); break;
    }
  }

  // Each number is finite, but relative steps, reflections and arcs add them up, and the bounds
  // subtract them: a sum or span past the largest double would give the path endless bounds, and
  // fitting it to a frame would give NaN. The control box covers every point and the drawn box.
  // (The box skips a point that is not a number, so the points are looked at too.)
  void refuseEndlessBounds() const {
    bool finite = true;
    for (const Path::Element& element : path_.elements()) {
      for (const Point& p : element.points) finite = finite && std::isfinite(p.x) && std::isfinite(p.y);
    }
    Rect box = path_.controlBounds();
    if (!finite || !std::isfinite(box.width) || !std::isfinite(box.height)) throw VornoError::invalid(kTooLarge);
  }

  void lineTo(Point p) {
    ensureStart();
    path_.lineTo(p);
    current_ = p;
  }

  void curveTo(Point c1, Point c2, Point p) {
    ensureStart();
    path_.curveTo(c1, c2, p);
    lastControl_ = c2, current_ = p;
  }

  void quadTo(Point q, Point p) {
    ensureStart();
    path_.quadTo(q, p);
    lastControl_ = q, current_ = p;
  }

  void arc() {
    double rx = tokens_.number(), ry = tokens_.number(), rotation = tokens_.number();
    bool largeArc = tokens_.flag();
    bool sweep = tokens_.flag();
    Point p = point();
    ensureStart();
    arcTo(path_, current_, rx, ry, rotation, largeArc, sweep, p);
    current_ = p;
  }

  Tokens tokens_;
  Path path_;
  Point current_{}, subpathStart_{}, lastControl_{};
  char command_ = 0;   // the command in force, as written (case tells relative)
  char previous_ = 0;  // the command that drew last, for the S and T reflection rules
};

}  // namespace

Path parse(std::string_view data) { return PathReader(data).read(); }

}  // namespace vorno::SVGPath
