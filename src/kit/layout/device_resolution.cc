// From a device slot to a concrete frame and a capture on disk: the locale fallback of
// captures, the automatic choice of frame, and the checks of how well a capture fits its screen.
#include "kit/devices/custom_frame.h"
#include "kit/devices/device_renderer.h"
#include "kit/image/codecs.h"
#include "kit/image/image_cache.h"
#include "kit/image/video_frames.h"
#include "kit/layout/slide_layout_engine.h"
#include "kit/util/format.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace vorno {

namespace {

namespace fs = std::filesystem;

// The file that must exist for a path: the recording itself for a frame of a video.
std::string fileOf(const std::string& path) {
  if (auto stamp = VideoFrames::parse(path)) return stamp->first;
  return path;
}

std::string replaceLocale(std::string text, const std::string& locale) {
  static const std::string token = "{locale}";
  for (size_t at = text.find(token); at != std::string::npos; at = text.find(token, at + locale.size()))
    text.replace(at, token.size(), locale);
  return text;
}

// The reference before "{locale}" was replaced: the target's entry of the slot.
std::optional<std::string> unresolvedReference(const ScreenshotRef& ref, const StoreTarget& target) {
  return ref.resolve(target, "{locale}");
}

const char* platformName(Platform p) { return p == Platform::ios ? "ios" : "android"; }
const char* familyName(DeviceFamily f) {
  switch (f) {
    case DeviceFamily::phone:
      return "phone";
    case DeviceFamily::tablet:
      return "tablet";
    case DeviceFamily::foldable:
      return "foldable";
  }
  return "phone";
}

double shortOverLong(double w, double h) { return std::min(w, h) / std::max(w, h); }

}  // namespace

std::optional<std::pair<std::string, std::string>> SlideLayoutEngine::otherLocaleCapture(const std::string& reference,
                                                                                         const std::string& root,
                                                                                         const std::string&) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator it(fs::path(root) / "captures", error), end; !error && it != end; it.increment(error)) {
    std::string name = it->path().filename().string();
    if (!name.empty() && name.front() != '.') names.push_back(name);
  }
  // en-US first, whatever the alphabet says: it is the locale most sets are captured in.
  std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
    if ((a == "en-US") != (b == "en-US")) return a == "en-US";
    return a < b;
  });
  for (const auto& name : names) {
    std::string path = packagePath(root, replaceLocale(reference, name));
    if (codecs::isRegularFile(fileOf(path))) return std::pair{name, path};
  }
  return std::nullopt;
}

namespace {

// 1-4. The capture: this locale's file, another locale's, or none; the path of the file to show.
std::optional<std::string> resolveCapture(const DeviceSlot& slot, const std::string& root, const StoreTarget& target,
                                          const std::string& locale, IssueSink& sink) {
  std::optional<std::string> path = slot.screenshot.resolve(target, locale);
  if (!path || path->empty()) {
    sink.warning("capture.none",
                 "This phone has no screenshot yet. Take one with capture_screenshot (or vorno capture), which saves "
                 "captures/" + locale + "/<name>.png, and use that path as the device's screenshot; or add an image "
                 "with asset_add and use its path.");
    return std::nullopt;
  }
  std::string file = packagePath(root, *path);
  if (fileExists(fileOf(file)) && !codecs::isRegularFile(fileOf(file))) {
    sink.error("capture.missing", "Screenshot " + *path +
                                      " isn't a file that can be read. Take it again with capture_screenshot (or "
                                      "vorno capture), which saves captures/" + locale + "/<name>.png, or add "
                                      "an image with asset_add and use its path.");
    return std::nullopt;
  }
  if (fileExists(fileOf(file))) return file;
  auto reference = unresolvedReference(slot.screenshot, target);
  std::optional<std::pair<std::string, std::string>> other;
  if (reference && reference->find("{locale}") != std::string::npos)
    other = SlideLayoutEngine::otherLocaleCapture(*reference, root, locale);
  if (other) {
    sink.warning("capture.locale", "No " + locale + " screenshot for " + fs::path(*path).filename().string() +
                                       " yet; showing the " + other->first + " one.");
    return other->second;
  }
  sink.error("capture.missing", "Screenshot " + *path +
                                    " is missing. Take it with capture_screenshot (or vorno capture), which "
                                    "saves captures/" + locale + "/<name>.png, or add an image with asset_add "
                                    "and use its path.");
  return std::nullopt;
}

// 13. The finish: known to this device, known to another device of the store, or unknown.
std::optional<std::string> resolveFinish(const DeviceSlot& slot, const DeviceFrame& frame, const StoreTarget& target,
                                         const DeviceCatalog& catalog, IssueSink& sink) {
  if (!slot.finish) return std::nullopt;
  auto all = frame.spec.allFinishes();
  if (std::find(all.begin(), all.end(), *slot.finish) != all.end()) return slot.finish;
  if (!Finish::named(*slot.finish)) {
    std::string options;
    for (size_t i = 0; i < all.size(); ++i) options += (i ? ", " : "") + all[i];
    sink.warning("frame.finish", "Unknown finish " + *slot.finish + ". Options: " + options + ".");
    return std::nullopt;
  }
  for (const auto& other : catalog.frames) {
    if (other.platform != target.platform) continue;
    auto finishes = other.spec.allFinishes();
    if (std::find(finishes.begin(), finishes.end(), *slot.finish) != finishes.end()) return slot.finish;
  }
  return std::nullopt;
}

}  // namespace

std::optional<SlideLayoutEngine::ResolvedDevice> SlideLayoutEngine::resolveDevice(const DeviceSlot& slot,
                                                                                  const std::string& root,
                                                                                  const StoreTarget& target,
                                                                                  const std::string& locale,
                                                                                  IssueSink& sink) const {
  ResolvedDevice resolved;
  resolved.captureURL = resolveCapture(slot, root, target, locale, sink);
  // 5. A capture that can't be read is treated as none, without a word: the file is there. Its
  // size is all layout needs, read from the file's header: the pixels are decoded only when the
  // device is drawn, so laying out a whole export holds no captures in memory.
  if (resolved.captureURL) resolved.captureSize = ImageSizeCache::shared().size(*resolved.captureURL);
  const std::optional<Size>& captureSize = resolved.captureSize;

  // 6, 7. A custom frame image, or a frame from the catalogue.
  std::optional<DeviceFrame> frame;
  if (slot.frame && DeviceFrame::isCustomPath(*slot.frame)) {
    try {
      frame = CustomFrame::load(packagePath(root, *slot.frame), *slot.frame, target.platform);
    } catch (const VornoError& error) {
      sink.error("frame.custom", "Frame " + fs::path(*slot.frame).filename().string() + ": " + error.message());
      return std::nullopt;
    }
  } else {
    frame = pickFrame(slot, captureSize, target, sink);
    if (!frame) {
      sink.error("frame.none", std::string("No device frame available for ") + platformName(target.platform) + " " +
                                   familyName(target.family) + ".");
      return std::nullopt;
    }
  }

  // 8. A foldable target shown with another device.
  if (target.family == DeviceFamily::foldable && frame->family != DeviceFamily::foldable && !slot.crop)
    sink.info("capture.duo", "On iPhone Duo this slide shows " + frame->name +
                                 " and its capture. Capture the app on the iPhone Duo simulator (Xcode 27.1 or "
                                 "later) and set it for ios.iphone-duo in device.screenshot, so the Duo itself "
                                 "appears.");

  // 9-12. Bare screen, landscape, detail card, outline.
  if (slot.frame && *slot.frame == DeviceFrame::noFrame) frame = frame->screenOnly();
  if (captureSize && captureSize->width > captureSize->height && !slot.crop) frame = frame->turned();
  if (slot.crop && captureSize)
    frame = frame->detail(*slot.crop, static_cast<int>(captureSize->width), static_cast<int>(captureSize->height));
  if (slot.outline) {
    const bool bare = frame->spec.bezel == 0 && frame->spec.band == 0 && !frame->overlay;
    if (bare || frame->crop) {
      frame = frame->outlined(*slot.outline);
    } else {
      sink.info("device.outline",
                "Outlines draw only around bare screens and detail cards (frame none, or a crop).");
    }
  }

  resolved.finish = resolveFinish(slot, *frame, target, *catalog_, sink);
  resolved.frame = *frame;
  return resolved;
}

std::optional<DeviceFrame> SlideLayoutEngine::pickFrame(const DeviceSlot& slot, const std::optional<Size>& capture,
                                                        const StoreTarget& target, IssueSink& sink) const {
  const Platform platform = target.platform;
  // 1. A frame named by the slot.
  if (slot.frame && *slot.frame != DeviceFrame::noFrame && !DeviceFrame::isCustomPath(*slot.frame)) {
    auto named = catalog_->frame(*slot.frame);
    if (!named) {
      sink.warning("frame.unknown", "Unknown frame " + *slot.frame + "; picked one from the capture size.");
    } else if (named->platform == platform) {
      if (named->family == target.family || !capture) return named;
      auto exact = catalog_->exactMatch(static_cast<int>(capture->width), static_cast<int>(capture->height), platform);
      if (exact && exact->family == target.family) return exact;
      return named;
    }
  }
  // 2-4. Chosen from the capture.
  if (!capture) return catalog_->defaultFrame(platform, target.family);
  const int w = static_cast<int>(capture->width), h = static_cast<int>(capture->height);
  if (auto exact = catalog_->exactMatch(w, h, platform)) return exact;
  auto best = catalog_->bestMatch(w, h, platform, target.family);
  if (platform == Platform::ios) return best;
  const double captureAspect = shortOverLong(w, h);
  if (best && std::abs(shortOverLong(best->screenWidth, best->screenHeight) - captureAspect) / captureAspect <= 0.005)
    return best;
  return DeviceCatalog::genericAndroid(w, h);
}

ElementLayout SlideLayoutEngine::deviceElement(const ElementName& name, const ResolvedDevice& resolved,
                                               const DeviceSlot& slot, const DeviceStand& stand, Size canvas,
                                               IssueSink& sink) const {
  const Rect& body = stand.body;
  const double W = canvas.width, H = canvas.height;
  DeviceRenderer renderer(resolved.frame, Finish::named(resolved.finish));
  const DeviceFrame& frame = resolved.frame;
  const double scale = body.width / renderer.nativeBodySize().width;
  ElementLayout e;
  e.id = name.id;
  e.owner = name.owner;
  e.kind = ElementLayout::Kind::device;
  e.label = name.label;
  e.frame = body;
  e.rotation = stand.rotation;
  e.z = stand.z;
  e.opacity = stand.opacity;
  e.shadow = true;
  e.isManual = stand.manual;
  e.bleed = 0.2 * body.width;
  e.placement = {body.midX() / W, body.midY() / H, body.width / W, std::nullopt, std::nullopt,
                 stand.rotation != 0 ? std::optional<double>(stand.rotation) : std::nullopt};

  if (resolved.captureSize) {
    const double cw = resolved.captureSize->width, ch = resolved.captureSize->height;
    const double screenWidth = frame.screenWidth;
    if (!slot.crop) {
      const double capAspect = cw / ch;
      const double screenAspect = frame.turn ? static_cast<double>(frame.screenHeight) / frame.screenWidth
                                             : static_cast<double>(frame.screenWidth) / frame.screenHeight;
      const double diff = std::abs(capAspect - screenAspect) / screenAspect;
      if (diff > 0.005) {
        std::string hint = " Use a capture from a matching device.";
        if (auto best = catalog_->bestMatch(static_cast<int>(cw), static_cast<int>(ch), frame.platform, frame.family)) {
          const double bestAspect = shortOverLong(best->screenWidth, best->screenHeight);
          const double captureAspect = shortOverLong(cw, ch);
          if (std::abs(bestAspect - captureAspect) / captureAspect <= 0.005)
            hint = " The " + best->name + " frame fits this capture exactly (Automatic picks it).";
        }
        sink.warning("capture.aspect",
                     formatted("Capture aspect differs from the %s screen by %.1f%%; it was fitted to the width, so "
                               "the bottom is trimmed or extended.",
                               frame.name.c_str(), diff * 100) +
                         hint);
      }
      const double shown = scale * screenWidth;
      if (shown * 0.9 > cw)
        sink.warning("capture.lowres", "Capture is " + std::to_string(static_cast<long>(cw)) + "px wide but shown at " +
                                           std::to_string(static_cast<long>(shown)) + "px; it will look soft.");
    } else {
      const double shown = scale * screenWidth;
      if (shown * 0.6 > screenWidth)
        sink.info("capture.zoom", formatted("The cropped region is shown at %.1f× its pixels; it may look soft. Crop a "
                                            "larger region or show it smaller.",
                                            shown / screenWidth));
    }
  }

  e.contentKey = "device|" + frame.id + "|" + resolved.finish.value_or("-") + "|" +
                 resolved.captureURL.value_or("-") + "|" + formatted("%.4g", body.width) + "|o" +
                 formatted("%.4g", stand.opacity);
  e.content = DeviceContent{renderer, resolved.finish, resolved.captureURL};
  return e;
}

}  // namespace vorno
