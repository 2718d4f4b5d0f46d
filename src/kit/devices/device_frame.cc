#include "kit/devices/device_frame.h"
#include "kit/devices/device_frame_coding.h"

#include "kit/model/codings.h"
#include "kit/model/paint_coding.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>

namespace vorno {

std::vector<std::string> FrameSpec::allFinishes() const {
  std::vector<std::string> out = finishes;
  for (const auto& id : Finish::flat())
    if (std::find(out.begin(), out.end(), id) == out.end()) out.push_back(id);
  return out;
}

namespace {

Finish makeFinish(const char* id, const char* light, const char* dark) {
  return Finish{id, *RGBColor::fromHex(light), *RGBColor::fromHex(dark)};
}

std::map<std::string, Finish> makeFinishes() {
  const Finish list[] = {
      makeFinish("natural", "#CFCCC6", "#7E7B76"),        makeFinish("black", "#4D4D50", "#1E1E20"),
      makeFinish("silver", "#F2F2F4", "#B9BABD"),         makeFinish("deep-blue", "#4A5C7A", "#1F2A3D"),
      makeFinish("cosmic-orange", "#F08A4B", "#A4461C"),  makeFinish("graphite", "#5B5D61", "#2A2B2E"),
      makeFinish("porcelain", "#F3F0EA", "#C9C4BA"),      makeFinish("obsidian", "#3E3F43", "#141416"),
      makeFinish("moonstone", "#A4AEBA", "#56606C"),      makeFinish("titanium-black", "#47484B", "#18191B"),
      makeFinish("titanium-gray", "#BEBDB8", "#6F6E6A"),  makeFinish("titanium-blue", "#A3B6CB", "#4C5F75"),
      makeFinish("night-sky", "#6B82A4", "#1A2230"),      makeFinish("star-white", "#EEECE8", "#ABA49C"),
      makeFinish("flat-black", "#121314", "#121314"),     makeFinish("flat-white", "#F6F6F4", "#F6F6F4"),
  };
  std::map<std::string, Finish> out;
  for (const auto& finish : list) out.emplace(finish.id, finish);
  return out;
}

}  // namespace

const std::map<std::string, Finish>& Finish::all() {
  static const std::map<std::string, Finish> finishes = makeFinishes();
  return finishes;
}

std::optional<Finish> Finish::named(const std::optional<std::string>& id) {
  if (!id) return std::nullopt;
  auto it = all().find(*id);
  if (it == all().end()) return std::nullopt;
  return it->second;
}

const std::vector<std::string>& Finish::flat() {
  static const std::vector<std::string> ids{"flat-black", "flat-white"};
  return ids;
}

bool Finish::isFlat() const {
  const auto& ids = flat();
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

bool DeviceFrame::isCustomPath(std::string_view text) {
  // The extension of the last path component only: "a.png/b" is a folder, not an image.
  size_t slash = text.find_last_of('/');
  std::string_view last = slash == std::string_view::npos ? text : text.substr(slash + 1);
  size_t dot = last.find_last_of('.');
  if (dot == std::string_view::npos || dot == 0) return false;
  std::string extension;
  for (char c : last.substr(dot + 1)) extension += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension == "png" || extension == "webp" || extension == "tiff";
}

double DeviceFrame::screenAspect() const {
  double w = screenWidth, h = screenHeight;
  return turn ? h / w : w / h;
}

DeviceFrame DeviceFrame::screenOnly() const {
  DeviceFrame out;
  out.id = id + "+screen";
  out.name = name + " (no frame)";
  out.platform = platform;
  out.family = family;
  out.screenWidth = screenWidth;
  out.screenHeight = screenHeight;
  out.scale = scale;
  out.screenCornerRadius = screenCornerRadius;
  out.maskPDFPath = maskPDFPath;
  out.source = source;
  out.spec.defaultFinish = spec.defaultFinish;
  out.spec.finishes = spec.finishes;
  return out;
}

DeviceFrame DeviceFrame::turned() const {
  if (turn || crop || overlay) return *this;
  DeviceFrame out = *this;
  out.id = id + "+landscape";
  out.turn = spec.landscape.value_or(Turn::counterclockwise);
  return out;
}

DeviceFrame DeviceFrame::detail(const CropRect& requested, int captureWidth, int captureHeight) const {
  CropRect c = requested.clamped();
  DeviceFrame out;
  out.screenWidth = std::max(1, static_cast<int>(std::lround(c.width * captureWidth)));
  out.screenHeight = std::max(1, static_cast<int>(std::lround(c.height * captureHeight)));
  char numbers[128];
  std::snprintf(numbers, sizeof numbers, "%.4f,%.4f,%.4f,%.4f", c.x, c.y, c.width, c.height);
  out.id = id + "+crop(" + numbers + ")";
  out.name = name + " (detail)";
  // Proportionate corners whatever the size: a detail is a small card, not the device's screen.
  out.screenCornerRadius = std::min(out.screenWidth, out.screenHeight) * 0.07;
  out.platform = platform;
  out.family = family;
  out.scale = scale;
  out.source = source;
  out.spec.defaultFinish = spec.defaultFinish;
  out.spec.finishes = spec.finishes;
  out.crop = c;
  return out;
}

DeviceFrame DeviceFrame::outlined(const RGBColor& color) const {
  DeviceFrame out = *this;
  out.id = id + "+ring(" + color.hex() + ")";
  out.outline = color;
  return out;
}

// JSON forms.

FrameSpec::Island Coding<FrameSpec::Island>::read(const Reader& r) {
  r.requireObject();
  return {r.get<double>("width"), r.get<double>("height"), r.get<double>("top")};
}

Json Coding<FrameSpec::Island>::write(const FrameSpec::Island& v) {
  return ObjectWriter().put("width", v.width).put("height", v.height).put("top", v.top).done();
}

FrameSpec::PunchHole Coding<FrameSpec::PunchHole>::read(const Reader& r) {
  r.requireObject();
  return {r.get<double>("diameter"), r.get<double>("top"), r.getIfPresent<double>("x")};
}

Json Coding<FrameSpec::PunchHole>::write(const FrameSpec::PunchHole& v) {
  return ObjectWriter().put("diameter", v.diameter).put("top", v.top).putIfPresent("x", v.x).done();
}

FrameSpec::Button Coding<FrameSpec::Button>::read(const Reader& r) {
  r.requireObject();
  return {r.get<FrameSpec::Button::Side>("side"), r.get<double>("start"), r.get<double>("length")};
}

Json Coding<FrameSpec::Button>::write(const FrameSpec::Button& v) {
  return ObjectWriter().put("side", v.side).put("start", v.start).put("length", v.length).done();
}

FrameSpec::Hinge Coding<FrameSpec::Hinge>::read(const Reader& r) {
  r.requireObject();
  return {r.get<FrameSpec::Hinge::Side>("side"), r.get<double>("thickness"), r.get<double>("screenRadius")};
}

Json Coding<FrameSpec::Hinge>::write(const FrameSpec::Hinge& v) {
  return ObjectWriter().put("side", v.side).put("thickness", v.thickness).put("screenRadius", v.screenRadius).done();
}

FrameSpec Coding<FrameSpec>::read(const Reader& r) {
  r.requireObject();
  FrameSpec s;
  s.bezel = r.get<double>("bezel");
  s.band = r.get<double>("band");
  s.island = r.getIfPresent<FrameSpec::Island>("island");
  s.punchHole = r.getIfPresent<FrameSpec::PunchHole>("punchHole");
  s.buttons = r.get<std::vector<FrameSpec::Button>>("buttons");
  s.defaultFinish = r.get<std::string>("defaultFinish");
  s.finishes = r.get<std::vector<std::string>>("finishes");
  s.bodyRadius = r.getIfPresent<double>("bodyRadius");
  s.edge = r.getIfPresent<FrameSpec::Edge>("edge");
  s.hinge = r.getIfPresent<FrameSpec::Hinge>("hinge");
  s.fold = r.getIfPresent<double>("fold");
  s.landscape = r.getIfPresent<FrameTurn>("landscape");
  return s;
}

Json Coding<FrameSpec>::write(const FrameSpec& s) {
  // `buttons` and `finishes` are required on reading, so they are written even when empty.
  return ObjectWriter()
      .put("bezel", s.bezel)
      .put("band", s.band)
      .putIfPresent("island", s.island)
      .putIfPresent("punchHole", s.punchHole)
      .put("buttons", s.buttons)
      .put("defaultFinish", s.defaultFinish)
      .put("finishes", s.finishes)
      .putIfPresent("bodyRadius", s.bodyRadius)
      .putIfPresent("edge", s.edge)
      .putIfPresent("hinge", s.hinge)
      .putIfPresent("fold", s.fold)
      .putIfPresent("landscape", s.landscape)
      .done();
}

DeviceFrame::Overlay Coding<DeviceFrame::Overlay>::read(const Reader& r) {
  r.requireObject();
  return {r.get<std::string>("path"), r.get<int>("imageWidth"), r.get<int>("imageHeight"), r.get<int>("screenX"),
          r.get<int>("screenY")};
}

Json Coding<DeviceFrame::Overlay>::write(const DeviceFrame::Overlay& v) {
  return ObjectWriter()
      .put("path", v.path)
      .put("imageWidth", v.imageWidth)
      .put("imageHeight", v.imageHeight)
      .put("screenX", v.screenX)
      .put("screenY", v.screenY)
      .done();
}

DeviceFrame Coding<DeviceFrame>::read(const Reader& r) {
  r.requireObject();
  DeviceFrame f;
  f.id = r.get<std::string>("id");
  f.name = r.get<std::string>("name");
  f.platform = r.get<Platform>("platform");
  f.family = r.get<DeviceFamily>("family");
  f.screenWidth = r.get<int>("screenWidth");
  f.screenHeight = r.get<int>("screenHeight");
  f.scale = r.get<double>("scale");
  f.screenCornerRadius = r.get<double>("screenCornerRadius");
  f.maskPDFPath = r.getIfPresent<std::string>("maskPDFPath");
  f.spec = r.get<FrameSpec>("spec");
  f.source = r.get<DeviceFrame::Source>("source");
  f.overlay = r.getIfPresent<DeviceFrame::Overlay>("overlay");
  f.crop = r.getIfPresent<CropRect>("crop");
  f.outline = r.getIfPresent<RGBColor>("outline");
  f.turn = r.getIfPresent<FrameTurn>("turn");
  return f;
}

Json Coding<DeviceFrame>::write(const DeviceFrame& f) {
  return ObjectWriter()
      .put("id", f.id)
      .put("name", f.name)
      .put("platform", f.platform)
      .put("family", f.family)
      .put("screenWidth", f.screenWidth)
      .put("screenHeight", f.screenHeight)
      .put("scale", f.scale)
      .put("screenCornerRadius", f.screenCornerRadius)
      .putIfPresent("maskPDFPath", f.maskPDFPath)
      .put("spec", f.spec)
      .put("source", f.source)
      .putIfPresent("overlay", f.overlay)
      .putIfPresent("crop", f.crop)
      .putIfPresent("outline", f.outline)
      .putIfPresent("turn", f.turn)
      .done();
}

}  // namespace vorno
