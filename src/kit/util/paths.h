// Path helpers shared by the store and the caches: one spelling per path, and the user caches folder.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vorno {

/// Absolute against the current directory, then `.` and `..` removed lexically (symbolic links are
/// not resolved), with no trailing slash except for "/" itself. Two spellings of one path give
/// equal results: "pkg/./a/../b/" and "<cwd>/pkg/b".
std::filesystem::path standardizePath(const std::filesystem::path& path);

/// The user's caches folder: $XDG_CACHE_HOME when it is set and absolute, else $HOME/.cache
/// (the password database's home folder when HOME is unset). Not created here.
std::filesystem::path userCachesFolder();

/// The user's home folder: $HOME, else the password database's entry.
std::filesystem::path homeFolder();
/// "~" and a leading "~/" replaced by the home folder; any other path as it stands ("~bob" too).
std::string expandingTilde(std::string_view path);

/// Creates a folder and its missing parents. Throws VornoError::io
/// "Couldn't create the folder <path>: <reason>." when that fails or a file stands in the way.
void createFolders(const std::filesystem::path& folder);

/// A path written in a package: absolute as it stands, else taken below `root`.
std::string packagePath(const std::string& root, const std::string& path);
/// Whether something exists at `path`; false too when it can't be told.
bool fileExists(const std::string& path);

/// strerror of an errno value as a string, safe to call from several threads.
std::string errorText(int errorNumber);

}  // namespace vorno
