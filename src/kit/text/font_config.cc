#include "kit/text/font_config.h"

#include <fontconfig/fontconfig.h>

#include <mutex>

namespace vorno::FontConfig {
namespace {

std::shared_ptr<FcConfig> adopt(FcConfig* config) {
  return std::shared_ptr<FcConfig>(config, [](FcConfig* c) { FcConfigDestroy(c); });
}

struct State {
  std::mutex lock;
  Snapshot snapshot;
};

State& state() {
  // FcConfigReference(nullptr) loads the default configuration once (fontconfig guards that
  // with its own atomics) and hands us a reference we own.
  static State* s = [] {
    auto* fresh = new State;
    fresh->snapshot.config = adopt(FcConfigReference(nullptr));
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
  // Loading the system configuration reads fontconfig's caches: tens of milliseconds, paid once
  // per registration that changes something, outside the lock.
  FcConfig* config = FcInitLoadConfigAndFonts();
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
