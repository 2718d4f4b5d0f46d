#include "kit/devices/builtin_specs.h"

#include <unicode/translit.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <memory>

namespace vorno::BuiltinSpecs {
namespace {

using Side = FrameSpec::Button::Side;

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }
bool contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

// The digits right behind "iPhone ": 17 for "iPhone 17 Pro", nothing for "iPhone Air".
std::optional<int> modelNumber(std::string_view name) {
  constexpr std::string_view prefix = "iPhone ";
  if (!startsWith(name, prefix)) return std::nullopt;
  int value = 0;
  size_t i = prefix.size(), digits = 0;
  for (; i < name.size() && name[i] >= '0' && name[i] <= '9' && digits < 6; ++i, ++digits) value = value * 10 + (name[i] - '0');
  if (digits == 0) return std::nullopt;
  return value;
}

constexpr FrameSpec::Island standardIsland{126.0, 37.33, 11.0};

FrameSpec ipad(std::string_view name) {
  FrameSpec s;
  s.bezel = contains(name, "Pro") ? 40 : contains(name, "mini") ? 34 : 44;
  s.band = 2.5;
  s.buttons = {{Side::top, 0.78, 0.07}};
  s.defaultFinish = "graphite";
  s.finishes = {"graphite", "silver"};
  return s;
}

FrameSpec iphone(std::string_view name) {
  bool pro = contains(name, "Pro");
  std::optional<int> model = modelNumber(name);
  FrameSpec s;
  s.bezel = pro ? 10.5 : 11.5;
  s.band = 5;
  bool noIsland = false;
  for (std::string_view prefix : {"iPhone 16e", "iPhone 17e", "iPhone SE", "iPhone 13", "iPhone 12", "iPhone 11"})
    noIsland = noIsland || startsWith(name, prefix);
  noIsland = noIsland || (!pro && startsWith(name, "iPhone 14"));
  if (!noIsland) s.island = standardIsland;
  if (model && *model >= 16) {
    s.buttons = {{Side::left, 0.185, 0.04},
                 {Side::left, 0.255, 0.07},
                 {Side::left, 0.345, 0.07},
                 {Side::right, 0.255, 0.11},
                 {Side::right, 0.545, 0.07}};
  } else {
    s.buttons = {{Side::left, 0.17, 0.035}, {Side::left, 0.245, 0.07}, {Side::left, 0.335, 0.07}, {Side::right, 0.27, 0.11}};
  }
  if (!pro) {
    s.finishes = {"black", "silver", "porcelain"};
  } else if (model && *model >= 17) {
    s.finishes = {"deep-blue", "cosmic-orange", "silver"};
  } else {
    s.finishes = {"natural", "black", "silver"};
  }
  s.defaultFinish = s.finishes.front();
  return s;
}

FrameSpec makeDuoOpen() {
  FrameSpec s;
  s.bezel = 17;
  s.band = 3.67;
  s.buttons = {{Side::left, 0.127, 0.066}, {Side::left, 0.208, 0.066}, {Side::top, 0.285, 0.158}};
  s.defaultFinish = "night-sky";
  s.finishes = {"night-sky", "star-white"};
  s.fold = 0.5;
  s.landscape = FrameTurn::clockwise;
  return s;
}

FrameSpec makeDuoClosed() {
  FrameSpec s;
  s.bezel = 10;
  s.band = 6;
  s.punchHole = FrameSpec::PunchHole{36, 29.67, 418.33};
  s.buttons = {{Side::right, 0.287, 0.158}, {Side::top, 0.464, 0.129}, {Side::top, 0.622, 0.129}};
  s.defaultFinish = "night-sky";
  s.finishes = {"night-sky", "star-white"};
  s.hinge = FrameSpec::Hinge{FrameSpec::Hinge::Side::left, 9.67, 8};
  return s;
}

// What the catalogue's row says of a device's screen; its outline comes beside it as a spec.
struct Screen {
  const char* id;
  const char* name;
  Platform platform;
  DeviceFamily family;
  int width, height;  // pixels, portrait
  double scale;       // pixels per point
  double radius;      // of the screen's corners, pixels
};

DeviceFrame builtin(const Screen& screen, FrameSpec spec) {
  DeviceFrame f;
  f.id = screen.id;
  f.name = screen.name;
  f.platform = screen.platform;
  f.family = screen.family;
  f.screenWidth = screen.width;
  f.screenHeight = screen.height;
  f.scale = screen.scale;
  f.screenCornerRadius = screen.radius;
  f.spec = std::move(spec);
  f.source = DeviceFrame::Source::builtin;
  return f;
}

FrameSpec android(double bezel, double band, std::optional<FrameSpec::PunchHole> hole, std::optional<double> bodyRadius,
                  std::optional<FrameSpec::Edge> edge, std::vector<FrameSpec::Button> buttons,
                  std::vector<std::string> finishes) {
  FrameSpec s;
  s.bezel = bezel;
  s.band = band;
  s.punchHole = hole;
  s.bodyRadius = bodyRadius;
  s.edge = edge;
  s.buttons = std::move(buttons);
  s.defaultFinish = finishes.front();
  s.finishes = std::move(finishes);
  return s;
}

std::vector<DeviceFrame> makeFallbackFrames() {
  using P = Platform;
  using F = DeviceFamily;
  using E = FrameSpec::Edge;
  using Hole = FrameSpec::PunchHole;
  const std::vector<FrameSpec::Button> pixel11Buttons{{Side::right, 0.2, 0.065}, {Side::right, 0.3, 0.13}};
  const std::vector<FrameSpec::Button> galaxyButtons{{Side::right, 0.2, 0.13}, {Side::right, 0.37, 0.065}};
  const std::vector<std::string> pixel11Finishes{"obsidian", "porcelain", "moonstone"};
  std::vector<DeviceFrame> frames;
  frames.push_back(duoOpenFrame());
  frames.push_back(duoClosedFrame());
  frames.push_back(builtin({"iphone-17-pro-max", "iPhone 17 Pro Max", P::ios, F::phone, 1320, 2868, 3, 186},
                           *apple("iPhone 17 Pro Max")));
  frames.push_back(
      builtin({"iphone-17-pro", "iPhone 17 Pro", P::ios, F::phone, 1206, 2622, 3, 186}, *apple("iPhone 17 Pro")));
  frames.push_back(builtin({"ipad-pro-13-inch-m5", "iPad Pro 13-inch (M5)", P::ios, F::tablet, 2064, 2752, 2, 36},
                           *apple("iPad Pro 13-inch (M5)")));
  frames.push_back(builtin({"pixel-11-pro", "Pixel 11 Pro", P::android, F::phone, 1280, 2856, 3.107, 125},
                           android(13, 5.5, Hole{13, 9.5, {}}, 62, E::rounded, pixel11Buttons, pixel11Finishes)));
  frames.push_back(builtin({"pixel-11-pro-xl", "Pixel 11 Pro XL", P::android, F::phone, 1344, 2992, 3.262, 132},
                           android(13, 5.5, Hole{13, 9.5, {}}, 63, E::rounded, pixel11Buttons, pixel11Finishes)));
  frames.push_back(builtin({"galaxy-s26-ultra", "Galaxy S26 Ultra", P::android, F::phone, 1440, 3120, 3.495, 104},
                           android(7, 4.5, Hole{12, 9, {}}, 31, E::flat, galaxyButtons,
                                   {"titanium-black", "titanium-gray", "titanium-blue", "silver"})));
  frames.push_back(builtin({"galaxy-s26", "Galaxy S26", P::android, F::phone, 1080, 2340, 3, 100},
                           android(7.5, 4.5, Hole{12, 9, {}}, 43, E::flat, galaxyButtons,
                                   {"titanium-black", "silver", "titanium-blue"})));
  frames.push_back(builtin({"pixel-9-pro", "Pixel 9 Pro", P::android, F::phone, 1280, 2856, 3.12, 122},
                           android(14.5, 4.5, Hole{11, 11, {}}, 60, E::rounded,
                                   {{Side::right, 0.22, 0.06}, {Side::right, 0.31, 0.12}}, {"black", "porcelain"})));
  // The tablet's camera sits in the bezel above the screen, hence the negative top.
  frames.push_back(builtin({"android-tablet-10in", "Android Tablet 10\u2033", P::android, F::tablet, 1600, 2560, 2, 40},
                           android(30, 2.5, Hole{7, -18, {}}, std::nullopt, std::nullopt, {{Side::top, 0.75, 0.08}},
                                   {"graphite", "silver"})));
  return frames;
}

// Building a transliterator parses its rules, which is slow, and one instance must not be used by
// two threads at once: each thread keeps its own.
icu::Transliterator* asciiTransliterator() {
  thread_local std::unique_ptr<icu::Transliterator> transliterator = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Transliterator> made(
        icu::Transliterator::createInstance("Any-Latin; Latin-ASCII", UTRANS_FORWARD, status));
    if (U_FAILURE(status)) made.reset();
    return made;
  }();
  return transliterator.get();
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

}  // namespace

std::optional<FrameSpec> apple(std::string_view name) {
  if (contains(name, "GB)")) return std::nullopt;  // an iPad's memory variant, not a device of its own
  if (startsWith(name, "iPhone Duo")) return contains(name, "closed") ? duoClosed() : duoOpen();
  if (startsWith(name, "iPad")) return ipad(name);
  if (startsWith(name, "iPhone")) return iphone(name);
  return std::nullopt;
}

std::string slug(std::string_view name) {
  icu::UnicodeString text = icu::UnicodeString::fromUTF8(icu::StringPiece(name.data(), static_cast<int32_t>(name.size())));
  if (auto* transliterator = asciiTransliterator()) {
    icu::UnicodeString converted = text;
    transliterator->transliterate(converted);
    if (!converted.isBogus()) text = converted;
  }
  text.toLower(icu::Locale::getRoot());
  std::string lowered;
  text.toUTF8String(lowered);
  replaceAll(lowered, "\u2033", "in");
  replaceAll(lowered, "\"", "in");

  icu::UnicodeString walked = icu::UnicodeString::fromUTF8(lowered);
  icu::UnicodeString out;
  bool pendingDash = false;
  for (int32_t i = 0; i < walked.length();) {
    UChar32 c = walked.char32At(i);
    i += U16_LENGTH(c);
    if (u_isalpha(c) || u_isdigit(c)) {
      if (pendingDash && !out.isEmpty()) out.append(u'-');
      pendingDash = false;
      out.append(c);
    } else {
      pendingDash = true;  // written only if a letter or digit follows, so never at either end
    }
  }
  std::string result;
  out.toUTF8String(result);
  return result;
}

const FrameSpec& duoOpen() {
  static const FrameSpec spec = makeDuoOpen();
  return spec;
}

const FrameSpec& duoClosed() {
  static const FrameSpec spec = makeDuoClosed();
  return spec;
}

const DeviceFrame& duoOpenFrame() {
  static const DeviceFrame frame =
      builtin({"iphone-duo", "iPhone Duo", Platform::ios, DeviceFamily::foldable, 2007, 2853, 3, 165}, duoOpen());
  return frame;
}

const DeviceFrame& duoClosedFrame() {
  static const DeviceFrame frame = builtin(
      {"iphone-duo-closed", "iPhone Duo (closed)", Platform::ios, DeviceFamily::foldable, 1398, 2034, 3, 177},
      duoClosed());
  return frame;
}

const std::vector<DeviceFrame>& fallbackFrames() {
  static const std::vector<DeviceFrame> frames = makeFallbackFrames();
  return frames;
}

}  // namespace vorno::BuiltinSpecs
