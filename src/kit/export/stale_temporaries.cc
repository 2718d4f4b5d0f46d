#include "kit/export/stale_temporaries.h"

#include <string>
#include <vector>

namespace vorno {

namespace fs = std::filesystem;

namespace {

bool isUUID(std::string_view text) {
  if (text.size() != 36) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (c != '-') return false;
    } else if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'))) {
      return false;
    }
  }
  return true;
}

}  // namespace

void removeStaleTemporaries(const fs::path& file) {
  const std::string prefix = "." + file.filename().string() + ".";
  std::error_code error;
  std::vector<fs::path> stale;
  fs::directory_iterator it(file.parent_path(), error);
  if (error) return;
  for (; it != fs::directory_iterator(); it.increment(error)) {
    if (error) break;
    const std::string name = it->path().filename().string();
    if (name.size() != prefix.size() + 36 || name.compare(0, prefix.size(), prefix) != 0) continue;
    if (!isUUID(std::string_view(name).substr(prefix.size()))) continue;
    std::error_code ignored;
    if (it->is_regular_file(ignored)) stale.push_back(it->path());
  }
  // Removed after the listing, which then never sees its own folder change under it.
  for (const auto& path : stale) fs::remove(path, error);
}

}  // namespace vorno
