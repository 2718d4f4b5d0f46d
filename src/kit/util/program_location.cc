#include "kit/util/program_location.h"

#include "kit/util/paths.h"

#include <string>
#include <system_error>

namespace vorno {

namespace fs = std::filesystem;

namespace {

std::string& rememberedArgument() {
  static std::string argument;
  return argument;
}

}  // namespace

void rememberProgramArgument(const char* argument0) {
  if (argument0) rememberedArgument() = argument0;
}

std::optional<fs::path> programPath() {
  std::error_code error;
  // The kernel's link names the file that was executed, whatever PATH or symbolic link led there.
  fs::path self = fs::read_symlink("/proc/self/exe", error);
  if (!error && self.is_absolute()) return self;
  const std::string& argument = rememberedArgument();
  // A bare name was found on PATH, so it says nothing about where the file is.
  if (argument.empty() || argument.find('/') == std::string::npos) return std::nullopt;
  fs::path resolved = fs::canonical(argument, error);
  if (error) return standardizePath(argument);
  return resolved;
}

fs::path installedShareFolder(const fs::path& program) {
  return (program.parent_path() / ".." / "share" / "vorno").lexically_normal();
}

std::optional<fs::path> installedShareFolder() {
  auto program = programPath();
  if (!program) return std::nullopt;
  return installedShareFolder(*program);
}

}  // namespace vorno
