#include "kit/layout/symbols.h"

#include "kit/util/program_location.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

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
  std::ifstream in(tablePath);
  std::string line;
  while (std::getline(in, line)) {
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

std::optional<std::string> svgPath(std::string_view name) { return shared().svgPath(name); }

}  // namespace Symbols

}  // namespace vorno
