// FileProjectStore: the only code that reads and writes project.json. It knows the package layout,
// creates packages, loads and saves the document atomically, and serialises writers of one package
// across threads and processes with a lock file outside the package.
//
//   FileProjectStore store("AppStore.vorno");
//   Project project = store.load();                 // no lock: relies on atomic replacement
//   store.modify([](Project& p) { p.appName = "Tide"; });  // read-change-write under the lock
//
// Readers take no lock. `modify` is not reentrant: calling it inside `modify` on the same package
// deadlocks, because each call opens its own descriptor of the lock file.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace vorno {

struct Project;

class FileProjectStore {
 public:
  /// The package folder; standardised, so two spellings of one path give equal stores.
  explicit FileProjectStore(const std::filesystem::path& root);

  const std::filesystem::path& root() const { return root_; }
  std::filesystem::path project() const { return root_ / "project.json"; }
  std::filesystem::path capturesDir() const { return root_ / "captures"; }
  std::filesystem::path rendersDir() const { return root_ / "renders"; }
  std::filesystem::path exportsDir() const { return root_ / "exports"; }

  /// True when project.json exists under the root: a folder without it is not a package.
  bool exists() const;

  /// Reads and decodes project.json without taking the lock. Throws VornoError::notFound
  /// "No project at <root>. Create one with project_create." when it is missing.
  Project load() const;

  /// Decodes the bytes of a project.json: VornoError::invalid "project.json is invalid: <summary>"
  /// when they do not decode, and "Project schema <n> is newer than this Vorno (5). Update Vorno."
  /// for a schema from the future. Older schemas are read as they are.
  static Project decode(std::string_view data);

  /// The bytes `save` writes: the document with the current schema version, pretty-printed with
  /// sorted keys and one final newline.
  static std::string encode(const Project& project);

  /// Writes project.json atomically, creating the root if needed, and returns the bytes written.
  std::string save(const Project& project) const;

  /// The read-change-write cycle under the lock: reads the file on disk (never a cached copy), runs
  /// `body` on it, and saves only when the document changed by field-wise equality. When `body`
  /// throws nothing is written. Returns what `body` returns.
  template <class F>
  auto modify(F&& body) const {
    using R = std::remove_cvref_t<std::invoke_result_t<F&, Project&>>;
    if constexpr (std::is_void_v<R>) {
      modifyImpl([&](Project& project) { body(project); });
    } else {
      std::optional<R> result;
      modifyImpl([&](Project& project) { result.emplace(body(project)); });
      return std::move(*result);
    }
  }

  /// Runs `body` holding the package's lock, and releases it whether or not `body` throws.
  template <class F>
  auto withLock(F&& body) const {
    using R = std::remove_cvref_t<std::invoke_result_t<F&>>;
    if constexpr (std::is_void_v<R>) {
      withLockImpl([&] { body(); });
    } else {
      std::optional<R> result;
      withLockImpl([&] { result.emplace(body()); });
      return std::move(*result);
    }
  }

  /// Makes a new package: captures/, renders/, exports/, the .gitignore and project.json.
  /// Throws VornoError::invalid "A project already exists at <path>." when there is one.
  void create(const Project& project) const;

  /// Makes sure the package's .gitignore lists renders/, exports/ and .activity.jsonl, without
  /// touching anything else in it; writes nothing when all three are there.
  void ignoreGeneratedFiles() const;

  /// Takes `file` into `<root>/<folder>` and returns its path relative to the root. A file already
  /// inside the package is not copied; a name in use gets "-2", "-3", ... before its extension.
  std::string import(const std::filesystem::path& file, const std::string& folder) const;

  /// Copies `source` to `destination` so that the destination is never half-written: an existing
  /// file is replaced in one rename. Paths that resolve to the same file copy nothing. A link at
  /// the destination is replaced by the copy, never written through.
  static void copyReplacing(const std::filesystem::path& source, const std::filesystem::path& destination);

  /// Packages at or under `folder`, up to `depth` folders down, sorted by path. A package is not
  /// searched inside; hidden entries, symbolic links and `skippedFolders` are not entered.
  static std::vector<std::filesystem::path> projects(const std::filesystem::path& folder, int depth);

  /// Folder names the package search never enters.
  static const std::set<std::string>& skippedFolders();

  /// This package's lock file: `<caches>/app.vorno/locks/<32 hex digits>.lock`, named after the
  /// SHA-256 of the root's real path, so two spellings of one folder share a lock.
  std::filesystem::path lockFile() const;

  /// The flock call that takes the lock; tests replace it to make locking fail or be interrupted.
  static int (*flockCall)(int fd, int operation);

  bool operator==(const FileProjectStore&) const = default;

 private:
  void modifyImpl(const std::function<void(Project&)>& body) const;
  void withLockImpl(const std::function<void()>& body) const;

  std::filesystem::path root_;
};

}  // namespace vorno
