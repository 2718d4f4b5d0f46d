// The checks walk lexically from `base` down, one lstat per part, so a link is seen as a link
// wherever it stands and never followed. Folders are made with mkdir one at a time rather than
// with create_directories, which would follow a link planted on the way; a part another writer
// makes at the same moment (EEXIST) is simply looked at again. The writes walk the same parts with
// openat from descriptor to descriptor, so what they find is what they write into.
#include "kit/util/write_paths.h"

#include "kit/util/file_descriptor.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

namespace vorno {

namespace fs = std::filesystem;

namespace {

enum class Make { nothing, folders };
// What stops a walk: anything that isn't what the path needs, or only a symbolic link (the rest,
// a file where a folder goes, is left for the write to report when it gets there).
enum class Refuse { anythingInTheWay, linksOnly };

void requirePlainParts(const fs::path& base, const fs::path& relative) {
  bool any = false;
  for (const auto& part : relative) {
    any = true;
    const std::string name = part.string();
    if (relative.is_absolute() || name.empty() || name == "." || name == "..")
      throw VornoError::invalid(relative.string() + " can't be written below " + base.string() +
                                ": give a path made of plain names.");
  }
  if (!any) throw VornoError::invalid("No file name to write below " + base.string() + ".");
}

[[noreturn]] void refuseLink(const fs::path& at, bool folder, std::string_view within) {
  const std::string where(within);
  if (folder)
    throw VornoError::invalid("The folder " + at.string() + " is a symbolic link. Vorno writes only inside " + where +
                              " and never through a link: make it a real folder, or remove it, and try again.");
  throw VornoError::invalid(at.string() + " is a symbolic link. Vorno writes only inside " + where +
                            " and never through a link: remove the link and try again.");
}

// A part on the way to the file: a real folder, or nothing yet (made when asked). False when it
// is absent and nothing is to be made: then nothing below it exists either.
bool checkFolder(const fs::path& at, Make make, Refuse refuse, std::string_view within) {
  struct stat info {};
  if (::lstat(at.c_str(), &info) != 0) {
    if (errno != ENOENT) throw VornoError::io("Couldn't look at " + at.string() + ": " + errorText(errno) + ".");
    if (make == Make::nothing) return false;
    if (::mkdir(at.c_str(), 0777) != 0 && errno != EEXIST)
      throw VornoError::io("Couldn't create the folder " + at.string() + ": " + errorText(errno) + ".");
    if (::lstat(at.c_str(), &info) != 0)
      throw VornoError::io("Couldn't create the folder " + at.string() + ": " + errorText(errno) + ".");
  }
  if (S_ISLNK(info.st_mode)) refuseLink(at, true, within);
  if (!S_ISDIR(info.st_mode) && refuse == Refuse::linksOnly) return false;
  if (!S_ISDIR(info.st_mode))
    throw VornoError::invalid(at.string() + " is " + (S_ISREG(info.st_mode) ? "a file" : notAFileKind(info.st_mode)) +
                              ", not a folder. Move it out of the way and try again.");
  return true;
}

// The file itself: a regular file to replace, or nothing yet.
void checkFile(const fs::path& at, Refuse refuse, std::string_view within) {
  struct stat info {};
  if (::lstat(at.c_str(), &info) != 0) {
    if (errno == ENOENT) return;
    throw VornoError::io("Couldn't look at " + at.string() + ": " + errorText(errno) + ".");
  }
  if (S_ISLNK(info.st_mode)) refuseLink(at, false, within);
  if (!S_ISREG(info.st_mode) && refuse == Refuse::anythingInTheWay)
    throw VornoError::invalid(at.string() + " is " + notAFileKind(info.st_mode) +
                              ", not a file. Move it out of the way and try again.");
}

// Walks the folders of `relative` below `base` (all its parts, or all but the last).
fs::path walkFolders(const fs::path& base, const fs::path& relative, bool lastIsFolder, Make make, Refuse refuse,
                     std::string_view within) {
  requirePlainParts(base, relative);
  if (make == Make::folders) createFolders(base);
  fs::path at = base;
  const fs::path folders = lastIsFolder ? relative : relative.parent_path();
  bool exists = true;
  for (const auto& part : folders) {
    at /= part;
    if (exists) exists = checkFolder(at, make, refuse, within);
  }
  return exists ? at : fs::path();
}

fs::path writePath(const fs::path& base, const fs::path& relative, Make make, Refuse refuse,
                   std::string_view within) {
  const fs::path folder = walkFolders(base, relative, false, make, refuse, within);
  const fs::path file = base / relative;
  if (!folder.empty()) checkFile(file, refuse, within);
  return file;
}

// Why the part `name` of `folder` could not be opened as a folder: the same sentences the walk by
// path gives, from what is there now.
[[noreturn]] void refuseFolder(int folder, const fs::path& at, int openError, std::string_view within) {
  struct stat info {};
  if (::fstatat(folder, at.filename().c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0) {
    if (S_ISLNK(info.st_mode)) refuseLink(at, true, within);
    if (!S_ISDIR(info.st_mode))
      throw VornoError::invalid(at.string() + " is " +
                                (S_ISREG(info.st_mode) ? "a file" : notAFileKind(info.st_mode)) +
                                ", not a folder. Move it out of the way and try again.");
  }
  throw VornoError::io("Couldn't open the folder " + at.string() + ": " + errorText(openError) + ".");
}

// The folder `name` inside the open `folder`, made when missing, opened without following a link.
FileDescriptor openOrMakeFolder(int folder, const fs::path& at, std::string_view within) {
  const std::string nameText = at.filename().string();
  const char* name = nameText.c_str();
  const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  FileDescriptor opened(::openat(folder, name, flags));
  if (!opened.valid() && errno == ENOENT) {
    if (::mkdirat(folder, name, 0777) != 0 && errno != EEXIST)
      throw VornoError::io("Couldn't create the folder " + at.string() + ": " + errorText(errno) + ".");
    opened = FileDescriptor(::openat(folder, name, flags));
  }
  if (!opened.valid()) refuseFolder(folder, at, errno, within);
  return opened;
}

// The folder that holds `relative`'s file, reached from `base` one part at a time.
FileDescriptor openFolderOf(const fs::path& base, const fs::path& relative, std::string_view within) {
  requirePlainParts(base, relative);
  createFolders(base);
  FileDescriptor folder(::open(base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.valid())
    throw VornoError::io("Couldn't open the folder " + base.string() + ": " + errorText(errno) + ".");
  fs::path at = base;
  for (const auto& part : relative.parent_path()) {
    at /= part;
    folder = openOrMakeFolder(folder.get(), at, within);
  }
  return folder;
}

// The file's place in its open folder: nothing yet, or a regular file to replace.
void checkFileIn(int folder, const fs::path& at, std::string_view within) {
  struct stat info {};
  if (::fstatat(folder, at.filename().c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno == ENOENT) return;
    throw VornoError::io("Couldn't look at " + at.string() + ": " + errorText(errno) + ".");
  }
  if (S_ISLNK(info.st_mode)) refuseLink(at, false, within);
  if (!S_ISREG(info.st_mode))
    throw VornoError::invalid(at.string() + " is " + notAFileKind(info.st_mode) +
                              ", not a file. Move it out of the way and try again.");
}

}  // namespace

HeldFolder openFolderBelow(const fs::path& base, const fs::path& relative, std::string_view within) {
  HeldFolder folder{openFolderOf(base, relative, within), (base / relative).parent_path()};
  checkFileIn(folder.descriptor.get(), base / relative, within);
  return folder;
}

void renameInto(const OpenFolder& folder, const std::string& from, const std::string& to, std::string_view within) {
  const fs::path target = folder.path / to;
  checkFileIn(folder.fd, target, within);
  if (::renameat(folder.fd, from.c_str(), folder.fd, to.c_str()) != 0)
    throw VornoError::io("Couldn't write " + target.string() + ": " + errorText(errno) + ".");
}

void writeFileBelow(const fs::path& base, const fs::path& relative, std::string_view bytes, Durability durability,
                    std::string_view within) {
  HeldFolder folder = openFolderBelow(base, relative, within);
  atomicWriteInto(folder.open(), relative.filename().string(), bytes, durability);
}

void copyFileBelow(const fs::path& source, const fs::path& base, const fs::path& relative, std::string_view within) {
  HeldFolder folder = openFolderBelow(base, relative, within);
  atomicCopyInto(source, folder.open(), relative.filename().string());
}

bool removeFileBelow(const fs::path& base, const fs::path& relative) {
  requirePlainParts(base, relative);
  FileDescriptor folder(::open(base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (const auto& part : relative.parent_path()) {
    if (!folder.valid()) return false;
    folder = FileDescriptor(::openat(folder.get(), part.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  }
  if (!folder.valid()) return false;
  const std::string name = relative.filename().string();
  struct stat info {};
  if (::fstatat(folder.get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0 || S_ISDIR(info.st_mode)) return false;
  if (::unlinkat(folder.get(), name.c_str(), 0) == 0) return true;
  if (errno == ENOENT) return false;
  throw VornoError::io("Couldn't remove " + (base / relative).string() + ": " + errorText(errno) +
                       ". Check its permissions, then try again.");
}

std::string notAFileKind(mode_t mode) {
  if (S_ISREG(mode)) return "";
  if (S_ISDIR(mode)) return "a folder";
  if (S_ISLNK(mode)) return "a symbolic link";
  if (S_ISFIFO(mode)) return "a named pipe";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
  if (S_ISSOCK(mode)) return "a socket";
  return "not a regular file";
}

fs::path checkedWritePath(const fs::path& base, const fs::path& relative, std::string_view within) {
  return writePath(base, relative, Make::nothing, Refuse::anythingInTheWay, within);
}

void refuseLinksOnTheWay(const fs::path& base, const fs::path& relative, std::string_view within) {
  writePath(base, relative, Make::nothing, Refuse::linksOnly, within);
}

fs::path preparedWritePath(const fs::path& base, const fs::path& relative, std::string_view within) {
  return writePath(base, relative, Make::folders, Refuse::anythingInTheWay, within);
}

fs::path preparedWriteFolder(const fs::path& base, const fs::path& relative, std::string_view within) {
  walkFolders(base, relative, true, Make::folders, Refuse::anythingInTheWay, within);
  return base / relative;
}

}  // namespace vorno
