#include "kit/text/font_config.h"

#include <fontconfig/fontconfig.h>

#include <mutex>

namespace vorno::FontConfig {
namespace {

// The system font has no letters for most of the world's scripts, so their glyphs come from the
// fallback chain, where fontconfig's defaults put DejaVu Sans first: it covers Arabic, Hebrew,
// Armenian and Georgian, in a heavier, wider design that sits badly beside Inter. The Noto faces
// of those scripts are made to match a neutral sans, and are set right after the system font's
// families, strongly bound, so they come before anything the generic sans-serif brings in. They
// have none of Inter's Latin letters to take over. A face that isn't installed is passed over.
constexpr const char* kScriptFallbacks = R"(<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig>
  <match target="pattern">
    <test name="family"><string>Inter</string></test>
    <edit name="family" mode="append" binding="strong">
      <string>Noto Sans Arabic</string><string>Noto Sans Hebrew</string>
      <string>Noto Sans Thai</string><string>Noto Sans Devanagari</string>
      <string>Noto Sans Bengali</string><string>Noto Sans Tamil</string>
      <string>Noto Sans Armenian</string><string>Noto Sans Georgian</string>
    </edit>
  </match>
  <match target="pattern">
    <test name="family"><string>Inter Display</string></test>
    <edit name="family" mode="append" binding="strong">
      <string>Noto Sans Arabic</string><string>Noto Sans Hebrew</string>
      <string>Noto Sans Thai</string><string>Noto Sans Devanagari</string>
      <string>Noto Sans Bengali</string><string>Noto Sans Tamil</string>
      <string>Noto Sans Armenian</string><string>Noto Sans Georgian</string>
    </edit>
  </match>
</fontconfig>
)";

/// The system's configuration and fonts with our fallback rules on top; nullptr when even the
/// system configuration doesn't load. Loading reads fontconfig's caches: tens of milliseconds.
FcConfig* loadConfig() {
  FcConfig* config = FcInitLoadConfigAndFonts();
  if (!config) return nullptr;
  // A rule that fails to parse leaves the system's own order, which still draws every script.
  FcConfigParseAndLoadFromMemory(config, reinterpret_cast<const FcChar8*>(kScriptFallbacks), FcFalse);
  return config;
}

std::shared_ptr<FcConfig> adopt(FcConfig* config) {
  return std::shared_ptr<FcConfig>(config, [](FcConfig* c) { FcConfigDestroy(c); });
}

struct State {
  std::mutex lock;
  Snapshot snapshot;
};

State& state() {
  // A configuration of our own rather than fontconfig's default: the fallback rules must not
  // change what other users of the default (SVG text, say) see. When it can't load, the default
  // (which FcConfigReference(nullptr) loads once and hands us a reference to) still draws.
  static State* s = [] {
    auto* fresh = new State;
    FcConfig* own = loadConfig();
    fresh->snapshot.config = adopt(own ? own : FcConfigReference(nullptr));
    return fresh;
  }();
  return *s;
}

}  // namespace

Snapshot current() {
  State& s = state();
  std::lock_guard guard(s.lock);
  return s.snapshot;
}

bool publish(const std::vector<std::string>& fontFiles) {
  // Paid once per registration that changes something, outside the lock.
  FcConfig* config = loadConfig();
  if (!config) return false;
  for (const std::string& file : fontFiles) {
    FcConfigAppFontAddFile(config, reinterpret_cast<const FcChar8*>(file.c_str()));
  }
  auto fresh = adopt(config);
  State& s = state();
  std::lock_guard guard(s.lock);
  s.snapshot.config = std::move(fresh);
  s.snapshot.generation += 1;
  return true;
}

}  // namespace vorno::FontConfig
