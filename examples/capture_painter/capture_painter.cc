// demo_captures: paints the Crewday app's screens that the example package shows in its devices,
// for every locale of the example, at the exact pixel sizes of an iPhone 17 Pro Max (1320 x 2868)
// and of a 6.2-inch Android phone (1080 x 2340), and writes them to
// <package>/captures/<locale>/<screen>[-android].png.
//
//   demo_captures examples/Demo.vorno
//
// The example has no app behind it, so its captures are drawn rather than taken; they are
// committed with the package and painted again by `make demo-captures` whenever this changes.
#include "examples/capture_painter/screen_painter.h"

#include <cairo.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace crewday;

struct Screen {
  const char* name;
  void (*paint)(ScreenPainter&);
};

const Screen screens[] = {
    {"week", paintWeek}, {"quote", paintQuote}, {"map", paintMap}, {"paid", paintPaid}, {"team", paintTeam}};

/// Paints one screen and writes it through a temporary file, so that an interrupted run never
/// leaves half a PNG in the package.
bool writeScreen(const Screen& screen, const Phone& phone, const std::string& locale, const fs::path& folder) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, phone.pixelWidth, phone.pixelHeight);
  cairo_t* cr = cairo_create(surface);
  {
    ScreenPainter painter(cr, phone, locale);
    screen.paint(painter);
  }
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  fs::path target = folder / (std::string(screen.name) + phone.suffix + ".png");
  fs::path temporary = target;
  temporary += ".tmp";
  bool ok = cairo_surface_write_to_png(surface, temporary.c_str()) == CAIRO_STATUS_SUCCESS;
  cairo_surface_destroy(surface);
  if (!ok) {
    std::fprintf(stderr, "Error: could not write %s.\n", temporary.c_str());
    return false;
  }
  fs::rename(temporary, target);
  std::printf("%s (%ju KB)\n", target.c_str(), static_cast<uintmax_t>(fs::file_size(target) / 1024));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2 || (argc == 2 && std::string(argv[1]).rfind("-", 0) == 0)) {
    std::fprintf(stderr, "Usage: demo_captures [package]   (default: examples/Demo.vorno)\n");
    return 64;
  }
  fs::path package = argc == 2 ? argv[1] : "examples/Demo.vorno";
  if (!fs::exists(package / "project.json")) {
    std::fprintf(stderr, "Error: No project at %s. Run this from the repository's root or name the package.\n",
                 package.c_str());
    return 1;
  }
  try {
    bool ok = true;
    for (const char* locale : {"en-US", "ja-JP"}) {
      fs::path folder = package / "captures" / locale;
      fs::create_directories(folder);
      for (const Phone& phone : {Phone::iPhone(), Phone::androidPhone()})
        for (const Screen& screen : screens) ok = writeScreen(screen, phone, locale, folder) && ok;
    }
    // The app icon, which the notification on the paid slide shows.
    fs::create_directories(package / "assets");
    Phone square{"", false, 1024, 1024, 1};
    ok = writeScreen({"app-icon", paintAppIcon}, square, "en-US", package / "assets") && ok;
    return ok ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "Error: %s\n", error.what());
    return 1;
  }
}
