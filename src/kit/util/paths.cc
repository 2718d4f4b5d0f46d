#include "kit/util/paths.h"

#include "kit/util/vorno_error.h"

#include <pwd.h>
#include <string.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <vector>

namespace vorno {

std::filesystem::path standardizePath(const std::filesystem::path& path) {
  std::filesystem::path absolute = path;
  if (!absolute.is_absolute()) {
    std::error_code error;
    std::filesystem::path cwd = std::filesystem::current_path(error);
    // Without a current directory (it was deleted) the path stays relative; there is no better
    // answer, and the later open reports the problem in its own words.
    if (!error) absolute = cwd / path;
  }
  std::string text = absolute.lexically_normal().string();
  // lexically_normal keeps a trailing separator ("a/b/"); one spelling per folder means none.
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  if (text.empty()) text = ".";
  return text;
}

std::filesystem::path homeFolder() {
  if (const char* home = std::getenv("HOME"); home && home[0] != '\0') return standardizePath(home);
  // A service started without HOME still has an entry in the password database.
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found && found->pw_dir)
    return standardizePath(found->pw_dir);
  return std::filesystem::temp_directory_path();
}

std::filesystem::path userCachesFolder() {
  if (const char* xdg = std::getenv("XDG_CACHE_HOME"); xdg && xdg[0] == '/') return standardizePath(xdg);
  return homeFolder() / ".cache";
}

std::string expandingTilde(std::string_view path) {
  if (path == "~") return homeFolder().string();
  if (path.starts_with("~/")) return (homeFolder() / std::string(path.substr(2))).string();
  return std::string(path);
}

void createFolders(const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (!error && !std::filesystem::is_directory(folder, error)) error = std::make_error_code(std::errc::not_a_directory);
  if (error)
    throw VornoError::io("Couldn't create the folder " + folder.string() + ": " + errorText(error.value()) + ".");
}

std::string errorText(int errorNumber) {
  char buffer[256];
  // The GNU strerror_r may return a static string instead of filling the buffer.
  return strerror_r(errorNumber, buffer, sizeof buffer);
}

std::string packagePath(const std::string& root, const std::string& path) {
  if (!path.empty() && path.front() == '/') return path;
  return (std::filesystem::path(root) / path).string();
}

bool fileExists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
}

}  // namespace vorno
