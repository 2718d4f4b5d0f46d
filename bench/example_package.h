// The bundled example package, copied into a benchmark's scratch folder so that renders and
// upserts never touch the one in the repository.
#pragma once

#include <filesystem>

namespace vorno::bench {

/// Copies the example's project.json, captures and assets into `folder`/Demo.vorno; its path.
inline std::filesystem::path copyExamplePackage(const std::filesystem::path& folder) {
  namespace fs = std::filesystem;
  const fs::path example = fs::path(VORNO_SOURCE_DIR) / "examples/Demo.vorno";
  const fs::path demo = folder / "Demo.vorno";
  fs::create_directories(demo);
  for (const char* part : {"project.json", "captures", "assets"})
    if (fs::exists(example / part)) fs::copy(example / part, demo / part, fs::copy_options::recursive);
  return demo;
}

}  // namespace vorno::bench
