// Commands whose library has not landed in this build yet. Each says so plainly and exits 1.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "kit/util/vorno_error.h"

namespace vorno::cli {
namespace {

[[noreturn]] void notAvailable(const std::string& command) {
  throw VornoError::invalid(command + " is not available in this build yet.");
}

}  // namespace

int runVideo(const ParsedArguments&) { notAvailable("video"); }

}  // namespace vorno::cli
