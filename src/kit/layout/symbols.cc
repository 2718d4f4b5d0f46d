#include "kit/layout/symbols.h"

#include "kit/util/program_location.h"
#include "kit/util/read_file.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <tuple>

namespace vorno {

namespace fs = std::filesystem;

namespace {

bool isFile(const std::string& path) {
  std::error_code ec;
  return fs::is_regular_file(path, ec);
}

}  // namespace

SymbolTable SymbolTable::load(const std::string& tablePath, const std::vector<std::string>& iconFolders) {
  SymbolTable table;
  // A missing or unreadable table is an empty one: every name then reads as unknown where it is used.
  const std::string text = readRegularFile(tablePath).value_or("");
  for (size_t start = 0, end = 0; start < text.size(); start = end + 1) {
    end = std::min(text.find('\n', start), text.size());
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    size_t tab = line.find('\t');
    // Blank lines and lines without a stem are skipped: a hand-edited table must not stop the
    // program, and a name that doesn't resolve is reported where it is used.
    if (tab == std::string::npos || tab == 0 || tab + 1 == line.size()) continue;
    std::string name = line.substr(0, tab), stem = line.substr(tab + 1);
    if (stem.find('/') != std::string::npos) continue;  // stems are file names, never paths
    table.stems_[name] = stem;
  }
  // Every icon is looked up once here, so that asking later costs a map lookup and no disk access.
  std::map<std::string, std::optional<std::string>> found;
  for (const auto& [name, stem] : table.stems_) {
    auto [it, fresh] = found.try_emplace(stem);
    if (fresh) {
      for (const auto& folder : iconFolders) {
        std::string candidate = folder + "/" + stem + ".svg";
        if (isFile(candidate)) {
          it->second = candidate;
          break;
        }
      }
    }
    if (it->second) table.paths_[name] = *it->second;
  }
  return table;
}

std::optional<std::string> SymbolTable::svgPath(std::string_view name) const {
  auto it = paths_.find(name);
  if (it == paths_.end()) return std::nullopt;
  return it->second;
}

namespace {

size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

std::string_view firstWord(std::string_view name) { return name.substr(0, name.find('.')); }

}  // namespace

std::vector<std::string> SymbolTable::closest(std::string_view name, size_t count) const {
  std::vector<std::tuple<bool, size_t, std::string>> ranked;
  for (const auto& [candidate, path] : paths_)
    ranked.emplace_back(firstWord(candidate) != firstWord(name), editDistance(name, candidate), candidate);
  const size_t kept = std::min(count, ranked.size());
  std::partial_sort(ranked.begin(), ranked.begin() + static_cast<std::ptrdiff_t>(kept), ranked.end());
  std::vector<std::string> names;
  for (size_t i = 0; i < kept; ++i) names.push_back(std::get<2>(ranked[i]));
  return names;
}

namespace Symbols {

std::vector<std::string> resourceFolders() {
  std::vector<std::string> folders;
  if (const char* env = std::getenv("VORNO_SHARE_DIR"); env && *env) folders.emplace_back(env);
  // The installed tree is found from the program's own place rather than from the prefix it was
  // built for, so a package unpacked elsewhere or a moved tree still finds its resources.
  if (auto share = installedShareFolder()) folders.push_back(share->string());
#ifdef VORNO_SOURCE_RESOURCES
  folders.emplace_back(VORNO_SOURCE_RESOURCES);
#endif
  return folders;
}

std::vector<std::string> iconFolders(const std::string& shareFolder) {
  return {shareFolder + "/symbols", "/usr/share/bootstrap-icons/svg", "/usr/share/bootstrap-icons/icons",
          "/usr/share/bootstrap-icons"};
}

const SymbolTable& shared() {
  // A function-local static is built once, and other threads wait for it, without a lock of ours.
  static const SymbolTable table = [] {
    for (const auto& folder : resourceFolders()) {
      std::string path = folder + "/symbols.tsv";
      if (isFile(path)) return SymbolTable::load(path, iconFolders(folder));
    }
    return SymbolTable{};
  }();
  return table;
}

bool resolves(std::string_view name) { return shared().resolves(name); }

std::vector<std::string> closest(std::string_view name, size_t count) { return shared().closest(name, count); }

std::optional<std::string> svgPath(std::string_view name) { return shared().svgPath(name); }

}  // namespace Symbols

}  // namespace vorno
