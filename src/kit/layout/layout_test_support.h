// Shared by the layout tests: a package folder on disk with captures of given sizes, and small
// builders for projects and slides.
#pragma once

#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "tests/temp_folder.h"

#include <cairo.h>

#include <filesystem>
#include <string>

namespace vorno::testing {

/// A package folder with captures/ and fonts/ made on demand.
class TestPackage {
 public:
  TestPackage() : folder_("vorno-layout") {}

  std::string root() const { return folder_.path().string(); }

  /// Writes a PNG of `width` x `height` at `relative` (folders made as needed).
  std::string capture(const std::string& relative, int width, int height) const {
    auto path = folder_.path() / relative;
    std::filesystem::create_directories(path.parent_path());
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 0.2, 0.5, 0.9);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_write_to_png(surface, path.c_str());
    cairo_surface_destroy(surface);
    return path.string();
  }

 private:
  TempFolder folder_;
};

inline LocalizedText text(const std::string& english) { return LocalizedText{{{"en-US", english}}}; }

inline Slide heroSlide(const std::string& id, const std::string& headline) {
  Slide slide;
  slide.id = id;
  slide.headline = text(headline);
  return slide;
}

inline Project projectWith(std::vector<Slide> slides) {
  Project project("Test", {"en-US"}, {"ios.iphone-6.9"}, Theme::vorno(), std::move(slides), {});
  return project;
}

/// A device slot showing one capture path for every target.
inline DeviceSlot showing(const std::string& path) {
  DeviceSlot slot;
  slot.screenshot = ScreenshotRef::path(path);
  return slot;
}

/// A screenshot target of any size, for geometry tests.
inline StoreTarget phoneTarget(const std::string& id, int width, int height) {
  StoreTarget target = StoreTarget::iphone69();
  target.id = id;
  target.width = width;
  target.height = height;
  return target;
}

}  // namespace vorno::testing
