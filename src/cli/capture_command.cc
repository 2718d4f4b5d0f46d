// `vorno capture`: a screen of the running app, or a short recording of a simulator, into the
// package's captures/<locale>/ folder.
#include "cli/command_spec.h"
#include "cli/capture_command.h"
#include "cli/commands.h"
#include "kit/capture/capturer.h"
#include "kit/image/images.h"
#include "kit/model/enum_names.h"
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"

#include <iostream>

namespace vorno::cli {

int runCaptureWith(const ParsedArguments& args, const Capturer& capturer, std::ostream& out) {
  FileProjectStore store(standardizePath(*args.string("project")));
  Project project = store.load();
  const std::string locale =
      args.string("locale").value_or(project.locales.empty() ? "en-US" : project.locales.front());
  const std::string name = *args.string("name");

  if (std::optional<double> seconds = args.number("video")) {
    out << capturer.recordVideo(store, name, locale, args.string("device"), *seconds, args.string("url"), true) << "\n";
    return 0;
  }

  std::optional<Platform> platform;
  if (std::optional<std::string> given = args.string("platform")) {
    platform = enumCase<Platform>(*given);
    if (!platform) throw VornoError::invalid("platform must be ios or android.");
  }
  const std::string path =
      capturer.capture(store, {name, locale, args.string("device"), args.string("url"), true, std::nullopt, platform}).path;
  out << path << "\n";
  if (std::optional<std::string> note = Capturer::blankNote(Images::load((store.root() / path).string())))
    out << "Warning: " << *note << "\n";
  return 0;
}

int runCapture(const ParsedArguments& args) { return runCaptureWith(args, Capturer(), std::cout); }

}  // namespace vorno::cli
