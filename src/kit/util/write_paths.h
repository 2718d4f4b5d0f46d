// Where vorno may write below a folder it writes into (a package, or a folder given for layers):
// never through a symbolic link, and never onto something that isn't a regular file.
//
//   fs::path file = preparedWritePath(store.root(), "renders/intro-ios.iphone-6.9-en-US.png");
//   Images::write(image, file.string(), Images::ImageType::png);
//
// Why: a package is a folder a person may have cloned from anywhere, and a link inside it
// (renders/ -> /somewhere, fonts/x.ttf -> ~/.bashrc) would send a write outside it. Every part of
// the path below `base` is looked at with lstat, from `base` down: each existing part but the last
// must be a real folder, the last a regular file or nothing yet. `base` itself is the caller's:
// the package as the user named it. Every writer under a package goes through here: renders,
// overview sheets, layers, exports and their manifests, videos, assets, fonts and captures.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace vorno {

/// `base / relative`, once a write there is known to stay below `base`. `relative` is made of
/// plain names (no "", "." or ".."). Makes nothing. Throws VornoError::invalid with a sentence
/// naming the first part that is a symbolic link, or isn't a folder, or (last) isn't a file.
/// `within` names `base` in that sentence ("the package").
std::filesystem::path checkedWritePath(const std::filesystem::path& base, const std::filesystem::path& relative,
                                       std::string_view within = "the package");

/// Only the links of the above: a part of the path that is a symbolic link is refused the same
/// way; a file where a folder goes, or a folder where the file goes, is left for the write to
/// report when it gets there. For a run that checks all its files up front but lets each file
/// fail on its own.
void refuseLinksOnTheWay(const std::filesystem::path& base, const std::filesystem::path& relative,
                         std::string_view within = "the package");

/// The same as checkedWritePath, then the missing folders on the way are made one at a time, each looked at again
/// after it is made. Throws VornoError::io "Couldn't create the folder <path>: <reason>.".
std::filesystem::path preparedWritePath(const std::filesystem::path& base, const std::filesystem::path& relative,
                                        std::string_view within = "the package");

/// `base / relative` as a folder to write into: every part a real folder, the missing ones made.
std::filesystem::path preparedWriteFolder(const std::filesystem::path& base, const std::filesystem::path& relative,
                                          std::string_view within = "the package");

/// What a file's mode names, in a user's words ("a folder", "a named pipe"); empty for a regular
/// file.
std::string notAFileKind(mode_t mode);

}  // namespace vorno
