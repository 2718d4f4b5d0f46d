// Shared by the export end-to-end tests: a copy of the example package to export into, the list
// of files under a folder, and the reading of a PNG with libspng alone (not our writer, not our
// loader), so that what the stores would see is checked by an independent decoder.
#pragma once

#include "tests/read_text.h"
#include "tests/run_process.h"

#include <nlohmann/json.hpp>
#include <spng.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace vorno::testing {

/// Copies examples/Demo.vorno into `folder` without what exports or renders left in it. The
/// loops of its creatives are cut to half a second: these tests are about files and folders, and
/// a full loop at 4K would make each export encode hundreds of frames.
inline std::filesystem::path copyExample(const std::filesystem::path& folder) {
  namespace fs = std::filesystem;
  const fs::path source = fs::path(sourceDir()) / "examples" / "Demo.vorno";
  const fs::path target = folder / "Demo.vorno";
  fs::create_directories(target);
  for (const char* part : {"captures", "assets"})
    if (fs::exists(source / part)) fs::copy(source / part, target / part, fs::copy_options::recursive);
  std::ifstream in(source / "project.json");
  nlohmann::json project = nlohmann::json::parse(in);
  for (auto& creative : project["creatives"])
    if (creative.contains("motion")) creative["motion"]["duration"] = 0.5;
  std::ofstream(target / "project.json") << project.dump(2) << "\n";
  return target;
}

/// Every regular file under `folder`, relative, sorted; hidden files included.
inline std::set<std::string> filesUnder(const std::filesystem::path& folder) {
  namespace fs = std::filesystem;
  std::set<std::string> out;
  if (!fs::exists(folder)) return out;
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    if (entry.is_regular_file()) out.insert(fs::relative(entry.path(), folder).string());
  return out;
}

struct PNGFacts {
  uint32_t width = 0, height = 0;
  int colorType = -1;
  bool hasTransparencyChunk = false;
  bool decodes = false;  ///< the whole image decoded without error
};

/// The PNG's header facts and a full decode, by libspng directly; nothing when it isn't a PNG.
inline std::optional<PNGFacts> readPNG(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return std::nullopt;
  spng_ctx* context = spng_ctx_new(0);
  spng_set_png_file(context, file);
  std::optional<PNGFacts> facts;
  spng_ihdr header{};
  if (spng_get_ihdr(context, &header) == 0) {
    facts = PNGFacts{header.width, header.height, header.color_type, false, false};
    spng_trns transparency{};
    facts->hasTransparencyChunk = spng_get_trns(context, &transparency) == 0;
    size_t size = 0;
    if (spng_decoded_image_size(context, SPNG_FMT_RGB8, &size) == 0) {
      std::vector<unsigned char> pixels(size);
      facts->decodes = spng_decode_image(context, pixels.data(), size, SPNG_FMT_RGB8, 0) == 0;
    }
  }
  spng_ctx_free(context);
  std::fclose(file);
  return facts;
}

}  // namespace vorno::testing
