// The package's own fonts, and where a family comes from.
//
// Registration adds files to a fresh fontconfig configuration that then becomes current (see
// font_config.h): layouts already running keep the configuration they started with, and the
// next layout on every thread sees the new fonts. A file whose modification time changed is
// scanned again, so a font replaced in fonts/ takes effect on the next call.
#include "kit/text/font_config.h"
#include "kit/text/font_resolver.h"
#include "kit/text/text_layout.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vorno {
namespace {

namespace fs = std::filesystem;

struct Registry {
  // Held for a whole registration, fontconfig's reload included: it orders registrations, and
  // nothing that lays or draws text ever takes it.
  std::mutex lock;
  std::map<std::string, int64_t> registered;  // font file -> modification time when registered
};

Registry& registry() {
  static Registry* r = new Registry;
  return *r;
}

bool isFontFile(const fs::path& path) {
  std::string ext = path.extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  return ext == ".ttf" || ext == ".otf" || ext == ".ttc" || ext == ".woff" || ext == ".woff2";
}

int64_t modificationTime(const fs::path& path) {
  std::error_code error;
  auto time = fs::last_write_time(path, error);
  if (error) return 0;
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

std::string resolved(const std::string& path) {
  std::error_code error;
  fs::path canonical = fs::weakly_canonical(fs::path(path), error);
  return error ? fs::path(path).lexically_normal().string() : canonical.string();
}

bool hasPrefix(std::string_view s, std::string_view prefix) { return s.substr(0, prefix.size()) == prefix; }

}  // namespace

namespace FontRegistry {

void registerFonts(const std::string& root) {
  std::vector<fs::path> files;
  std::error_code error;
  fs::path folder = fs::absolute(fs::path(root) / "fonts", error);
  if (error) return;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (isFontFile(it->path())) files.push_back(it->path());
  }
  std::sort(files.begin(), files.end());

  Registry& r = registry();
  std::lock_guard guard(r.lock);
  bool changed = false;
  for (const fs::path& file : files) {
    int64_t time = modificationTime(file);
    auto [it, inserted] = r.registered.try_emplace(file.string(), time);
    if (!inserted && it->second == time) continue;
    it->second = time;
    changed = true;
  }
  if (!changed) return;
  std::vector<std::string> all;
  for (const auto& [path, time] : r.registered) all.push_back(path);
  FontConfig::publish(all);
}

bool isProjectFont(const std::string& fontPath, const std::string& root) {
  std::string file = resolved(fontPath);
  std::string folder = resolved((fs::path(root) / "fonts").string());
  if (folder.empty() || folder.back() != '/') folder += '/';
  return hasPrefix(file, folder);
}

}  // namespace FontRegistry

namespace TextLayout {

FontSource fontSource(std::string_view family, const std::string& root) {
  if (family.empty() || isSystemFamily(family)) return FontSource::system;
  FamilyLookup found = FontResolver::lookup(family, FontWeight::regular);
  if (!found.found) return FontSource::missing;
  if (found.file.empty()) return FontSource::system;
  if (FontRegistry::isProjectFont(found.file, root)) return FontSource::project;
  // Linux has no single system font folder: the fonts the distribution's packages install count
  // as the system's; anything else (a user's ~/.local/share/fonts, say) is local to this machine.
  if (hasPrefix(found.file, "/usr/share/fonts/") || hasPrefix(found.file, "/usr/local/share/fonts/")) {
    return FontSource::system;
  }
  return FontSource::local;
}

}  // namespace TextLayout
}  // namespace vorno
