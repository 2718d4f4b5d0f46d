// How it works: a shape mirrors what the readers accept, key by key, so a walk of the raw JSON
// against it finds exactly the keys that decoding would drop. Each unknown key gets a suggestion:
// first from the alias table (words of other design tools, which are rarely near misspellings of
// ours), then from the nearest known key by edit distance. The shapes are function-local statics:
// built once on first use, thread-safe by the language's rules, and never changed afterwards.
#include "kit/lint/schema_check.h"

#include <algorithm>
#include <initializer_list>

#include "kit/model/coding.h"
#include "kit/util/read_file.h"

namespace vorno {

using Shape = SchemaCheck::Shape;
using Finding = SchemaCheck::Finding;

// MARK: Shape

Shape Shape::object(std::string label, std::map<std::string, Shape> fields) {
  Shape shape(Kind::object);
  shape.label_ = std::move(label);
  shape.fields_ = std::make_shared<const std::map<std::string, Shape>>(std::move(fields));
  return shape;
}

Shape Shape::map(Shape item) {
  Shape shape(Kind::map);
  shape.item_ = std::make_shared<const Shape>(std::move(item));
  return shape;
}

Shape Shape::array(Shape item) {
  Shape shape(Kind::array);
  shape.item_ = std::make_shared<const Shape>(std::move(item));
  return shape;
}

Shape Shape::keyed(Shape item) {
  Shape shape(Kind::keyed);
  shape.item_ = std::make_shared<const Shape>(std::move(item));
  return shape;
}

Shape Shape::any() { return Shape(Kind::any); }

Shape Shape::fill() { return Shape(Kind::fill); }

const Shape* Shape::field(std::string_view key) const {
  if (!fields_) return nullptr;
  auto it = fields_->find(std::string(key));
  return it == fields_->end() ? nullptr : &it->second;
}

std::vector<std::string> Shape::keys() const {
  std::vector<std::string> out;
  if (fields_)
    for (const auto& [key, shape] : *fields_) out.push_back(key);
  return out;
}

namespace {

// A record whose keys hold plain values (numbers, strings, colours, enumerations, localised
// texts), which aren't looked into, and those in `nested`, which are.
Shape record(std::string label, std::initializer_list<const char*> plainKeys,
             std::map<std::string, Shape> nested = {}) {
  for (const char* key : plainKeys) nested.emplace(key, Shape::any());
  return Shape::object(std::move(label), std::move(nested));
}

// The keys of a slide, shared with the creative, which sits flat in the same object.
Shape slideRecord(std::string label, std::map<std::string, Shape> extra = {}) {
  extra.insert({
      {"device", Shape::device()},
      {"background", Shape::fill()},
      {"overrides", Shape::map(Shape::override())},
      {"elements", Shape::keyed(Shape::element())},
      {"textColors", Shape::map(Shape::any())},
      {"textStyles", Shape::map(Shape::textStyle())},
  });
  return record(std::move(label),
                {"id", "archetype", "eyebrow", "headline", "subhead", "inverted", "emphasisStyle", "accent"},
                std::move(extra));
}

}  // namespace

const Shape& Shape::crop() {
  static const Shape shape = record("crop", {"x", "y", "width", "height"});
  return shape;
}

const Shape& Shape::mark() {
  static const Shape shape =
      record("mark", {"color", "textColor", "paper", "padding", "radius", "tilt", "height", "offset", "opacity"});
  return shape;
}

const Shape& Shape::effect() {
  static const Shape shape = record("effect", {"outline", "outlineWidth", "shadow", "shadowX", "shadowY"});
  return shape;
}

const Shape& Shape::shadowStyle() {
  static const Shape shape = record("shadowStyle", {"color", "opacity", "blur", "x", "y"});
  return shape;
}

const Shape& Shape::placement() {
  static const Shape shape = record("placement", {"x", "y", "width", "height", "fontScale", "rotation"});
  return shape;
}

const Shape& Shape::override() {
  static const Shape shape = record("override", {"archetype", "deviceWidth", "deviceOffsetY", "headlineScale"},
                                    {{"placements", map(placement())}});
  return shape;
}

const Shape& Shape::component() {
  static const Shape shape =
      record("component", {"type", "style", "title", "subtitle", "items", "value", "symbol", "image"});
  return shape;
}

const Shape& Shape::element() {
  static const Shape shape = record(
      "element", {"id",        "kind",    "text",        "role",         "color",  "align",   "image",     "symbol",
                  "shape",     "stroke",  "strokeWidth", "cornerRadius", "aspect", "opacity", "shadow",    "z",
                  "platforms", "targets", "mask",        "blur",         "path",   "blend",   "decorative"},
      {
          {"device", device()},
          {"component", component()},
          {"fill", fill()},
          {"style", textStyle()},
          {"shadowStyle", shadowStyle()},
          {"crop", crop()},
      });
  return shape;
}

const Shape& Shape::device() {
  static const Shape shape =
      record("device", {"screenshot", "frame", "finish", "width", "offsetY", "rotation", "outline"},
             {{"crop", crop()}, {"platforms", map(look())}});
  return shape;
}

const Shape& Shape::look() {
  static const Shape shape = record("device look", {"frame", "finish"}, {{"crop", crop()}});
  return shape;
}

const Shape& Shape::slide() {
  static const Shape shape = slideRecord("slide");
  return shape;
}

const Shape& Shape::spread() {
  static const Shape shape = record("spread", {"id", "slides"},
                                    {
                                        {"background", fill()},
                                        {"elements", keyed(element())},
                                        {"overrides", map(override())},
                                    });
  return shape;
}

const Shape& Shape::theme() {
  static const Shape shape = record(
      "theme", {"foreground", "invertedForeground", "accent", "muted", "fontFamily", "headlineWeight", "emphasisStyle"},
      {
          {"background", fill()},
          {"invertedBackground", fill()},
          {"textStyles", map(textStyle())},
      });
  return shape;
}

const Shape& Shape::textStyle() {
  static const Shape shape = record("text style",
                                    {"fontFamily", "weight", "scale", "tracking", "lineHeight", "uppercase", "italic",
                                     "color", "align", "slant", "emphasisStyle"},
                                    {{"mark", mark()}, {"effect", effect()}, {"fill", fill()}});
  return shape;
}

const Shape& Shape::variant() {
  static const Shape shape = record("variant", {"id", "name", "patch"});
  return shape;
}

const Shape& Shape::project() {
  // Variants are `any` here: `SchemaCheck::project` checks their patches, in patch mode.
  static const Shape shape = record("project", {"schemaVersion", "appName", "locales", "targets", "variants"},
                                    {
                                        {"theme", theme()},
                                        {"slides", keyed(slide())},
                                        {"spreads", keyed(spread())},
                                        {"creatives", keyed(creative())},
                                    });
  return shape;
}

const Shape& Shape::creative() {
  static const Shape shape = slideRecord("creative", {{"canvas", any()}, {"motion", motion()}});
  return shape;
}

const Shape& Shape::keyframe() {
  static const Shape shape = record("keyframe", {"t", "x", "y", "scale", "rotation", "opacity", "ease"});
  return shape;
}

const Shape& Shape::wave() {
  static const Shape shape = record("wave", {"property", "amplitude", "cycles", "phase"});
  return shape;
}

const Shape& Shape::motion() {
  static const Shape shape = record("motion", {"duration", "fps", "poster"},
                                    {
                                        {"scenes", array(scene())},
                                        {"transition", transition()},
                                        {"tracks", map(array(keyframe()))},
                                        {"waves", map(array(wave()))},
                                    });
  return shape;
}

const Shape& Shape::scene() {
  static const Shape shape = record("scene", {"duration", "show"}, {{"texts", map(any())}, {"screens", map(any())}});
  return shape;
}

const Shape& Shape::transition() {
  static const Shape shape = record("transition", {"style", "duration"}, {{"elements", map(any())}});
  return shape;
}

// MARK: Finding

std::string Finding::field() const { return path.empty() ? key : path + "." + key; }

std::string Finding::message() const {
  std::string text = field() + " isn't a field Vorno knows, so it was ignored.";
  if (suggestion) text += " Did you mean " + *suggestion + "?";
  return text;
}

Issue Finding::issue(std::optional<std::string> slide) const {
  Issue result(Issue::Severity::warning, "schema.unknown", message());
  result.slide = std::move(slide);
  return result;
}

// MARK: Tables

const std::vector<SchemaCheck::FillKind>& SchemaCheck::fillKinds() {
  static const std::vector<FillKind> kinds{
      {"linear", {"linear", "angle"}},
      {"radial", {"radial", "center", "radius"}},
      {"image", {"image", "fit", "dim", "blur"}},
  };
  return kinds;
}

const std::string& SchemaCheck::fillSuggestion() {
  static const std::string text = R"(a fill: "#RRGGBB", {"linear": […]}, {"radial": […]} or {"image": …})";
  return text;
}

const std::map<std::string, std::string>& SchemaCheck::aliases() {
  static const std::map<std::string, std::string> table{
      {"textAlign", "align (in a text style: textStyles.<text>.align, or an element's style.align)"},
      {"textAlignment", "align (in a text style)"},
      {"alignment", "align (in a text style)"},
      {"font", "fontFamily"},
      {"fontName", "fontFamily"},
      {"family", "fontFamily"},
      {"font-family", "fontFamily"},
      {"fontWeight", "weight"},
      {"fontSize", "scale (in a text style) or fontScale (in a placement)"},
      {"size", "scale or width"},
      {"letterSpacing", "tracking"},
      {"kerning", "tracking"},
      {"lineSpacing", "lineHeight"},
      {"leading", "lineHeight"},
      {"textTransform", "uppercase"},
      {"caps", "uppercase"},
      {"allCaps", "uppercase"},
      {"oblique", "slant (or italic for a true italic face)"},
      {"rotate", "rotation"},
      {"angle", "rotation (or angle inside a linear fill)"},
      {"bg", "background"},
      {"backgroundColor", "background"},
      {"colour", "color"},
      {"textColor", "color (on an element) or textColors / textStyles.<text>.color (on a slide)"},
      {"shadowColor", "shadowStyle.color"},
      {"dropShadow", "shadow or shadowStyle"},
      {"borderColor", "stroke or outline"},
      {"border", "stroke or outline"},
      {"radius", "cornerRadius"},
      {"borderRadius", "cornerRadius"},
      {"zIndex", "z"},
      {"blendMode", "blend"},
      {"mixBlendMode", "blend"},
      {"emphasis", "emphasisStyle"},
      {"highlight", R"(emphasisStyle: "highlight")"},
      {"textPosition", "archetype (hero, device-top, text-only) or a placement"},
      {"position", "a placement in overrides.<target>.placements"},
      {"x", "a placement in overrides.<target>.placements"},
      {"y", "a placement in overrides.<target>.placements"},
      {"offsetX", "a placement's x"},
  };
  return table;
}

// MARK: Nearest key

namespace {

// Keys are compared character by character, not byte by byte, so that one accented letter
// counts as one edit. Bytes that are not valid UTF-8 count as one character each.
std::u32string characters(std::string_view text) {
  std::u32string out;
  size_t i = 0;
  while (i < text.size()) {
    auto lead = static_cast<unsigned char>(text[i]);
    size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
    bool valid = length > 0 && i + length <= text.size();
    for (size_t k = 1; valid && k < length; ++k) valid = (static_cast<unsigned char>(text[i + k]) & 0xC0) == 0x80;
    if (!valid) {
      out.push_back(lead);
      ++i;
      continue;
    }
    char32_t code = length == 1 ? lead : lead & (0xFF >> (length + 1));
    for (size_t k = 1; k < length; ++k) code = (code << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    out.push_back(code);
    i += length;
  }
  return out;
}

// Keys of records are ASCII, so ASCII case folding is all a comparison of keys needs.
std::u32string lowered(std::string_view text) {
  std::u32string out = characters(text);
  for (auto& c : out)
    if (c >= U'A' && c <= U'Z') c = c - U'A' + U'a';
  return out;
}

size_t osaDistance(const std::u32string& a, const std::u32string& b) {
  const size_t n = a.size(), m = b.size();
  std::vector<std::vector<size_t>> d(n + 1, std::vector<size_t>(m + 1));
  for (size_t i = 0; i <= n; ++i) d[i][0] = i;
  for (size_t j = 0; j <= m; ++j) d[0][j] = j;
  for (size_t i = 1; i <= n; ++i) {
    for (size_t j = 1; j <= m; ++j) {
      size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + cost});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  }
  return d[n][m];
}

}  // namespace

size_t SchemaCheck::distance(std::string_view a, std::string_view b) { return osaDistance(lowered(a), lowered(b)); }

std::optional<std::string> SchemaCheck::nearest(std::string_view key, const std::vector<std::string>& candidates) {
  const std::u32string needle = lowered(key);
  const size_t n = needle.size();
  // Short keys allow few edits, or every two-letter key would look like every other one.
  const size_t limit = n <= 2 ? 1 : n < 8 ? (n + 1) / 3 : 3;
  const std::string* best = nullptr;
  size_t bestDistance = 0;
  for (const auto& candidate : candidates) {
    size_t d = osaDistance(needle, lowered(candidate));
    if (d > limit) continue;
    if (!best || d < bestDistance || (d == bestDistance && candidate < *best)) {
      best = &candidate;
      bestDistance = d;
    }
  }
  if (!best) return std::nullopt;
  return *best;
}

// MARK: The walk

namespace {

std::string joined(const std::string& path, const std::string& key) { return path.empty() ? key : path + "." + key; }

std::string indexStep(const std::string& path, size_t index) { return path + "[" + std::to_string(index) + "]"; }

std::string idStep(const std::string& path, const std::string& id) { return path + "[\"" + id + "\"]"; }

void walk(const Json& value, const Shape& shape, const std::string& path, bool patch, std::vector<Finding>& out);

void walkFill(const Json& value, const std::string& path, std::vector<Finding>& out) {
  if (!value.is_object()) return;
  for (const auto& kind : SchemaCheck::fillKinds()) {
    if (!value.contains(kind.key)) continue;
    // nlohmann's objects iterate in sorted key order, which is the order findings are reported in.
    for (const auto& [key, member] : value.items()) {
      if (std::find(kind.keys.begin(), kind.keys.end(), key) != kind.keys.end()) continue;
      out.push_back({path, key, SchemaCheck::nearest(key, kind.keys)});
    }
    return;
  }
  for (const auto& [key, member] : value.items()) out.push_back({path, key, SchemaCheck::fillSuggestion()});
}

void walkObject(const Json& value, const Shape& shape, const std::string& path, bool patch, std::vector<Finding>& out) {
  if (!value.is_object()) return;
  for (const auto& [key, member] : value.items()) {
    if (const Shape* known = shape.field(key)) {
      if (patch && member.is_null()) continue;  // a null in a patch removes the field
      walk(member, *known, joined(path, key), patch, out);
      continue;
    }
    const auto& aliases = SchemaCheck::aliases();
    auto alias = aliases.find(key);
    out.push_back(
        {path, key, alias != aliases.end() ? std::optional(alias->second) : SchemaCheck::nearest(key, shape.keys())});
  }
}

void walk(const Json& value, const Shape& shape, const std::string& path, bool patch, std::vector<Finding>& out) {
  switch (shape.kind()) {
    case Shape::Kind::any:
      return;
    case Shape::Kind::fill:
      return walkFill(value, path, out);
    case Shape::Kind::map:
      if (!value.is_object()) return;
      for (const auto& [key, member] : value.items()) walk(member, *shape.item(), joined(path, key), patch, out);
      return;
    case Shape::Kind::array:
      if (!value.is_array()) return;
      for (size_t i = 0; i < value.size(); ++i) walk(value[i], *shape.item(), indexStep(path, i), patch, out);
      return;
    case Shape::Kind::keyed:
      if (value.is_array()) {
        for (size_t i = 0; i < value.size(); ++i) {
          const Json& element = value[i];
          auto id = element.is_object() ? element.find("id") : element.end();
          bool named = element.is_object() && id != element.end() && id->is_string();
          walk(element, *shape.item(), named ? idStep(path, id->get<std::string>()) : indexStep(path, i), patch, out);
        }
      } else if (value.is_object()) {
        // The patch form: entries keyed by id merge into, add or remove elements.
        for (const auto& [key, member] : value.items()) walk(member, *shape.item(), idStep(path, key), true, out);
      }
      return;
    case Shape::Kind::object:
      return walkObject(value, shape, path, patch, out);
  }
}

}  // namespace

std::vector<Finding> SchemaCheck::check(const Json& value, const Shape& shape, const std::string& path, bool patch) {
  std::vector<Finding> out;
  walk(value, shape, path, patch, out);
  return out;
}

std::vector<Finding> SchemaCheck::slide(const Json& value) { return check(value, Shape::slide()); }

std::vector<Finding> SchemaCheck::creative(const Json& value) { return check(value, Shape::creative()); }

std::vector<Finding> SchemaCheck::spread(const Json& value) { return check(value, Shape::spread()); }

std::vector<Finding> SchemaCheck::theme(const Json& value) { return check(value, Shape::theme()); }

std::vector<Finding> SchemaCheck::patch(const Json& value) { return check(value, Shape::project(), "", true); }

std::vector<Finding> SchemaCheck::project(const Json& value) {
  std::vector<Finding> out = check(value, Shape::project());
  if (!value.is_object()) return out;
  auto variants = value.find("variants");
  if (variants == value.end() || !variants->is_array()) return out;
  // Only a list of records is a list of variants; anything else is the reader's error to report.
  if (!std::all_of(variants->begin(), variants->end(), [](const Json& v) { return v.is_object(); })) return out;
  for (size_t i = 0; i < variants->size(); ++i) {
    const Json& variant = (*variants)[i];
    auto patchValue = variant.find("patch");
    if (patchValue == variant.end()) continue;
    auto id = variant.find("id");
    std::string path =
        id != variant.end() && id->is_string() ? idStep("variants", id->get<std::string>()) : indexStep("variants", i);
    walk(*patchValue, Shape::project(), path + ".patch", true, out);
  }
  return out;
}

std::vector<Finding> SchemaCheck::projectFile(const std::filesystem::path& path) {
  std::optional<std::string> text = readRegularFile(path);
  if (!text) return {};
  Json value;
  try {
    value = parseJSON(*text);
  } catch (const DecodingError&) {
    return {};
  }
  return project(value);
}

}  // namespace vorno
