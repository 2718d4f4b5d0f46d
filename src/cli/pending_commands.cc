// Commands whose library has not landed in this build yet. Each says so plainly and exits 1,
// after the validation that must happen before anything is touched.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "kit/util/vorno_error.h"

#include <regex>

namespace vorno::cli {
namespace {

[[noreturn]] void notAvailable(const std::string& command) {
  throw VornoError::invalid(command + " is not available in this build yet.");
}

}  // namespace

int runMCP(const ParsedArguments&) { notAvailable("mcp"); }
int runSetup(const ParsedArguments&) { notAvailable("setup"); }
int runDevices(const ParsedArguments&) { notAvailable("devices"); }
int runRender(const ParsedArguments&) { notAvailable("render"); }
int runVideo(const ParsedArguments&) { notAvailable("video"); }
int runOverview(const ParsedArguments&) { notAvailable("overview"); }
int runExport(const ParsedArguments&) { notAvailable("export"); }
int runCapture(const ParsedArguments&) { notAvailable("capture"); }
int runLint(const ParsedArguments&) { notAvailable("lint"); }  // TEMP until the store lands

int runVariantImport(const ParsedArguments& args) {
  // Variant ids name export folders, so they are checked before the package is opened.
  static const std::regex idPattern("^[A-Za-z0-9_-]+$");
  if (!std::regex_match(*args.string("id"), idPattern))
    throw UsageError("Variant ids use letters, digits, - and _ (they name export folders).");
  notAvailable("variant-import");
}

}  // namespace vorno::cli
