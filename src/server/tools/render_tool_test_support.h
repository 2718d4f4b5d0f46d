// Shared by the render tools' tests: captures drawn with cairo into a package, documents changed
// and saved as another writer would, and the returned JPEG previews decoded to look at.
#pragma once

#include <cairo.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "kit/image/image.h"
#include "kit/image/images.h"
#include "kit/model/codings.h"
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "server/tool_test_support.h"

namespace vorno::testing {

/// Writes an opaque PNG of `width` × `height` at `relative` inside the package: a blue screen
/// with a white band across the top third, so that crops and frames can be told apart.
inline void writeCapture(const std::string& package, const std::string& relative, int width, int height) {
  std::filesystem::path path = std::filesystem::path(package) / relative;
  std::filesystem::create_directories(path.parent_path());
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 0.2, 0.45, 0.9);
  cairo_paint(cr);
  cairo_rectangle(cr, 0, 0, width, height / 3.0);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_fill(cr);
  cairo_destroy(cr);
  cairo_surface_write_to_png(surface, path.c_str());
  cairo_surface_destroy(surface);
}

/// A call's arguments as JSON text: the package, then `rest` (members with a leading comma).
inline std::string args(const std::string& package, const std::string& rest = "") {
  return "{\"project\":" + nlohmann::json(package).dump() + rest + "}";
}

/// A document record read from its JSON text, as project.json would hold it.
template <class T>
T decoded(const std::string& json) {
  Json tree = Json::parse(json);
  return Reader(tree).decode<T>();
}

/// How many files stand in the package's renders/ folder.
inline int renderCount(const std::string& package) {
  std::filesystem::path folder = std::filesystem::path(package) / "renders";
  if (!std::filesystem::is_directory(folder)) return 0;
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) count += entry.is_regular_file() ? 1 : 0;
  return count;
}

/// Loads the package, lets `change` edit the document and saves it whole.
inline void editProject(const std::string& package, const std::function<void(Project&)>& change) {
  FileProjectStore store(package);
  Project project = store.load();
  change(project);
  store.save(project);
}

/// Decodes image bytes (a returned preview) through a file in `folder`.
inline Image decodeImage(const std::string& bytes, const std::filesystem::path& folder) {
  static int counter = 0;
  std::filesystem::path path = folder / ("preview-" + std::to_string(counter++) + ".jpg");
  writeBytes(path.string(), std::vector<uint8_t>(bytes.begin(), bytes.end()));
  return Images::load(path.string());
}

/// The red, green and blue of one pixel, 0...255 (the pictures here are opaque).
struct Pixel {
  int r = 0, g = 0, b = 0;
};
inline Pixel pixelAt(const Image& image, int x, int y) {
  const uint8_t* row = image.data() + static_cast<size_t>(y) * image.stride();
  uint32_t value = reinterpret_cast<const uint32_t*>(row)[x];
  return {static_cast<int>((value >> 16) & 0xFF), static_cast<int>((value >> 8) & 0xFF),
          static_cast<int>(value & 0xFF)};
}
inline int brightness(Pixel p) { return p.r + p.g + p.b; }

}  // namespace vorno::testing
