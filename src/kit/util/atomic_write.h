// The one way vorno writes a file a user could see: a reader finds the old bytes or the new ones,
// never a mix, and a crash leaves the old file whole.
//
// How it works: the bytes go to a temporary file beside the target, named ".<name>.<UUID>" so that
// it is hidden and never taken for the target, are flushed to disk with fsync (documents; rebuildable pictures skip the flush), and the temporary
// file is renamed over the target, which the kernel does in one step on one file system. On any
// failure the temporary file is removed. A process killed between create and rename can leave its
// temporary file behind; nothing reads those.
#pragma once

#include <filesystem>
#include <string_view>

namespace vorno {

/// How far a write goes before the rename. Either way readers and killed processes only ever see
/// the old file or the new one; the difference is a power cut.
enum class Durability {
  /// Flushed to the disk first (fsync): documents, manifests, anything that can't be made again.
  flushed,
  /// Left to the kernel to write back: pictures that a render or export makes again in a moment.
  /// Saves the flush, which costs more than encoding a slide on some disks.
  rebuildable,
};

/// The moments of one write, in the order they happen. `flushed` comes only when the flush was
/// asked for and succeeded; `renamed` means readers now see the new bytes.
/// `opening` comes once the folder is known and before the temporary file is made in it.
enum class WriteStep { opening, opened, halfWritten, written, flushed, renamed };

/// Null in the program. A test that must stop a writer at a known moment (to kill it there, or to
/// read beside it) sets it; it is then called at every step with the target and its temporary
/// file, and atomicWrite writes its bytes in two halves so that `halfWritten` is a moment when the
/// temporary file holds only part of them.
extern void (*atomicWriteStepHook)(const std::filesystem::path& target, const std::filesystem::path& temporary,
                                   WriteStep step);

/// A folder held open for writing into: its descriptor, and its path for messages. Writes name
/// their files relative to the descriptor, so the folder they land in is the one that was opened,
/// whatever is renamed or linked in its place afterwards.
struct OpenFolder {
  int fd;
  std::filesystem::path path;
};

/// Replaces (or creates) `target` with `bytes`. The parent folder must exist. A file that already
/// exists keeps its permission bits. Throws VornoError::io "Couldn't write <target>: <reason>.".
void atomicWrite(const std::filesystem::path& target, std::string_view bytes,
                 Durability durability = Durability::flushed);

/// The same into the file `name` of an open folder: the temporary file is created there without
/// following a link (O_EXCL | O_NOFOLLOW) and renamed over `name` in that same folder.
void atomicWriteInto(const OpenFolder& folder, const std::string& name, std::string_view bytes,
                     Durability durability = Durability::flushed);

/// Copies `source` over (or to) `target` the same way, streaming, with the source's permission
/// bits. Throws VornoError::io "Couldn't read <source>: <reason>." or "Couldn't write <target>: <reason>.".
void atomicCopy(const std::filesystem::path& source, const std::filesystem::path& target);

/// The same into the file `name` of an open folder.
void atomicCopyInto(const std::filesystem::path& source, const OpenFolder& folder, const std::string& name);

/// A fresh name for a temporary file beside `target`: ".<name>.<UUID>".
std::filesystem::path temporaryPathBeside(const std::filesystem::path& target);

/// A random (version 4) UUID in upper case, "E621E1F8-C36C-495A-93FC-0C247A3E6E5F".
std::string randomUUID();

}  // namespace vorno
