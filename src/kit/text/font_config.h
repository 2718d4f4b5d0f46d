// FontConfig: the fontconfig configuration that every lookup and every Pango font map of this
// process reads, published as an immutable snapshot.
//
// Registering a package's fonts must not change a configuration that other threads are reading
// (fontconfig's lookups are not safe against a concurrent FcConfigAppFontAddFile). So a
// registration builds a fresh configuration, adds every registered file to it, and publishes it
// with a new generation number; readers hold a reference to the snapshot they started with, and
// the per-thread Pango font maps (text_context.cc) move to the new one at their next call.
//
// Every snapshot carries our own fallback rules over the system's: the scripts the system font
// lacks take their Noto faces before the generic sans-serif's (font_config.cc says why).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

typedef struct _FcConfig FcConfig;

namespace vorno::FontConfig {

struct Snapshot {
  std::shared_ptr<FcConfig> config;  ///< never null
  uint64_t generation = 0;           ///< 0 for the system configuration as loaded at start
};

/// The configuration to read now.
Snapshot current();

/// Builds a configuration of the system's fonts plus `fontFiles` and makes it current. Files that
/// fontconfig cannot read are skipped. Returns false when not even the system configuration loads.
bool publish(const std::vector<std::string>& fontFiles);

}  // namespace vorno::FontConfig
