// ToolContext: what every tool call is given, built once when the server starts: the device
// catalogue, a slide renderer on it, the working directory that relative package paths resolve
// against, and the capturer that reaches simulators and Android devices.
#pragma once

#include <filesystem>
#include <string_view>

#include "kit/capture/capturer.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_project_store.h"

namespace vorno {

struct DeviceCatalog;

struct ToolContext {
  const DeviceCatalog* catalog = nullptr;
  SlideRenderer renderer;
  std::filesystem::path workingDirectory;
  /// /usr/bin/xcrun and the Android SDK of the server's environment; tests point it at fakes.
  Capturer capturer;

  /// The context of this process: the shared catalogue and the current directory.
  static ToolContext current();

  /// A path as an agent gives it: a leading tilde expanded, a relative path appended to the
  /// working directory, then standardised. Every path a tool takes from its arguments (project,
  /// source_path) comes through here; one holding a NUL is refused with a sentence.
  std::filesystem::path resolve(std::string_view path) const;
  /// The package store at `path`, resolved as above.
  FileProjectStore store(std::string_view path) const { return FileProjectStore(resolve(path)); }
};

}  // namespace vorno
