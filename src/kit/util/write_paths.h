// Where vorno may write below a folder it writes into (a package, or a folder given for layers):
// never through a symbolic link, and never onto something that isn't a regular file.
//
//   writeFileBelow(store.root(), "renders/intro__ios.iphone-6.9__en-US.png", bytes);
//
// Why: a package is a folder a person may have cloned from anywhere, and a link inside it
// (renders/ -> /somewhere, fonts/x.ttf -> ~/.bashrc) would send a write outside it. `base` itself
// is the caller's: the package as the user named it. Below it, two kinds of help:
// - the checks (checkedWritePath and its kin) look at every part with lstat, from `base` down,
//   so a run can refuse a bad path before it draws anything;
// - the writes (writeFileBelow, copyFileBelow) don't trust an earlier look: they open each folder
//   from the one above it without following a link and make and rename the file inside the last
//   one, so a folder swapped for a link between the look and the write changes nothing.
#pragma once

#include "kit/util/atomic_write.h"
#include "kit/util/file_descriptor.h"

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

/// Writes `bytes` to `base / relative` atomically, the folders on the way made as above. Nothing
/// is taken by path below `base`: each folder is opened from the one above it without following a
/// link (O_DIRECTORY | O_NOFOLLOW), and the file is made and renamed into place inside the last
/// one, so a folder swapped for a link at any moment can't carry the write outside. A link, or
/// something that isn't a file, where the file goes is refused as checkedWritePath refuses it.
void writeFileBelow(const std::filesystem::path& base, const std::filesystem::path& relative, std::string_view bytes,
                    Durability durability = Durability::flushed, std::string_view within = "the package");

/// The same with the bytes of the regular file `source` (streamed, keeping its permission bits).
void copyFileBelow(const std::filesystem::path& source, const std::filesystem::path& base,
                   const std::filesystem::path& relative, std::string_view within = "the package");

/// A file to be written below a folder: `relative` is walked from `base` part by part without
/// following a link, as writeFileBelow walks it. A path of the caller's own elsewhere (a --out)
/// is its folder and its name.
struct FileBelow {
  std::filesystem::path base;
  std::filesystem::path relative;

  std::filesystem::path path() const { return base / relative; }
  bool operator==(const FileBelow&) const = default;
};

/// A folder held open to write into, and its path for messages.
struct HeldFolder {
  FileDescriptor descriptor;
  std::filesystem::path path;

  OpenFolder open() const { return {descriptor.get(), path}; }
};

/// The folder that will hold `relative`'s file, reached and made exactly as writeFileBelow reaches
/// it, with the file's place in it checked: nothing yet, or a regular file. For a writer that makes
/// and renames its file itself (a video, a staged asset): whatever it names relative to the held
/// folder stays in the folder that was looked at.
HeldFolder openFolderBelow(const std::filesystem::path& base, const std::filesystem::path& relative,
                           std::string_view within = "the package");

/// Renames `from` over `to`, both in `folder`, once `to` is seen to be nothing yet or a regular
/// file. Throws VornoError::io "Couldn't write <folder>/<to>: <reason>." when the rename fails.
void renameInto(const OpenFolder& folder, const std::string& from, const std::string& to,
                std::string_view within = "the package");

/// Removes the file at `base / relative`, reached as writeFileBelow reaches it but making nothing:
/// a link there is removed itself, never what it points at. False, removing nothing, when nothing
/// is there, or it is a folder, or a folder on the way is missing, a link or no folder: then it is
/// not in the folder that was looked at. Throws VornoError::io "Couldn't remove <path>: <reason>.
/// Check its permissions, then try again." when the removal fails.
bool removeFileBelow(const std::filesystem::path& base, const std::filesystem::path& relative);

/// What a file's mode names, in a user's words ("a folder", "a named pipe"); empty for a regular
/// file.
std::string notAFileKind(mode_t mode);

}  // namespace vorno
