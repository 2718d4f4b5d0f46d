#include "kit/capture/capturer.h"

#include "kit/image/image.h"
#include "kit/store/file_name.h"
#include "kit/store/file_project_store.h"
#include "kit/util/atomic_write.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"
#include "kit/util/read_file.h"

#include <cctype>

namespace vorno {

namespace fs = std::filesystem;

namespace {

// A deep link or a change of appearance takes a moment to draw, and no app can tell us when it
// is done: the screen itself is watched until two shots this far apart are the same.
constexpr CaptureClock::Seconds kSettleInterval{0.35};
constexpr double kSettleTimeout = 6;

void checkName(const std::string& name) {
  bool plain = !name.empty();
  for (char c : name)
    if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '_' || c == '-')) plain = false;
  if (!plain) throw VornoError::invalid("Capture names may use letters, digits, dot, dash and underscore.");
}

std::string readBytes(const fs::path& path) {
  std::optional<std::string> bytes = readRegularFile(path);
  if (!bytes) throw VornoError::io("Couldn't read the screenshot " + path.string() + ".");
  return std::move(*bytes);
}

// A folder of its own for one capture's shots, removed on every way out.
class ShotFolder {
 public:
  ShotFolder() : path_(fs::temp_directory_path() / ("vorno-" + randomUUID())) { createFolders(path_); }
  ~ShotFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  ShotFolder(const ShotFolder&) = delete;
  ShotFolder& operator=(const ShotFolder&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

}  // namespace

std::string Capturer::relativePath(const std::string& name, const std::string& locale) {
  return "captures/" + locale + "/" + name + ".png";
}

Adb Capturer::makeAdb() const {
  Adb adb(androidSdk);
  adb.clock = clock;
  return adb;
}

void Capturer::waitForStableScreen(const FileBelow& target, double timeout,
                                   const std::function<void(const std::string& path)>& shoot,
                                   const CaptureClock& clock) {
  ShotFolder folder;
  const auto deadline = clock.now() + CaptureClock::Seconds(timeout);
  std::optional<std::string> previous;
  std::string shot;
  for (int attempt = 0;; ++attempt) {
    fs::path file = folder.path() / (std::to_string(attempt) + ".png");
    shoot(file.string());
    shot = readBytes(file);
    // Byte-identical PNGs are the whole test: no tolerance, so a blinking cursor keeps us waiting
    // until the limit, which then takes the latest picture.
    if (previous && *previous == shot) break;
    if (clock.now() > deadline) break;
    previous = std::move(shot);
    clock.sleep(kSettleInterval);
  }
  // The shooting took seconds, long after the capture's place was looked at: the shot is written
  // from the package down, so a folder there that became a link meanwhile is refused, not followed.
  writeFileBelow(target.base, target.relative, shot);
}

Platform Capturer::resolvePlatform(std::optional<Platform> platform, const std::optional<std::string>& device) const {
  if (platform) return *platform;
  // A machine without one of the toolchains must still work with the other: a failure to ask
  // is an empty list.
  std::vector<Simctl::Device> simulators;
  try {
    simulators = simctl.bootedDevices();
  } catch (const VornoError&) {
  }
  std::vector<Adb::Device> android;
  try {
    for (auto& each : makeAdb().devices())
      if (each.state == "device") android.push_back(std::move(each));
  } catch (const VornoError&) {
  }
  if (device) {
    for (const auto& simulator : simulators)
      if (simulator.udid == *device || simulator.name == *device) return Platform::ios;
    for (const auto& each : android)
      if (each.serial == *device || each.model == *device || each.avd == *device) return Platform::android;
  }
  if (!simulators.empty()) return Platform::ios;
  if (!android.empty()) return Platform::android;
  return Platform::ios;
}

CaptureResult Capturer::capture(const FileProjectStore& store, const CaptureRequest& request) const {
  const auto& [name, locale, device, deepLink, cleanStatusBar, appearance, platform] = request;
  checkName(name);
  FileName::check(locale, "Locale");
  if (appearance && *appearance != "dark" && *appearance != "light")
    throw VornoError::invalid("appearance must be dark or light.");
  const std::string relative = relativePath(name, locale);
  // captures/ or the locale's folder may be a link planted in the package: refused, not followed,
  // before any device is touched.
  checkedWritePath(store.root(), relative);
  const FileBelow target{store.root(), relative};

  const Platform chosen = resolvePlatform(platform, device);
  if (chosen == Platform::android) {
    Adb adb = makeAdb();
    const std::string serial = adb.resolve(device).serial;
    if (cleanStatusBar) adb.cleanStatusBar(serial);
    if (appearance) adb.setDarkMode(serial, *appearance == "dark");
    if (deepLink) adb.openURL(serial, *deepLink);  // "" too: only a missing link skips the step
    waitForStableScreen(target, kSettleTimeout, [&](const std::string& path) { adb.screenshot(serial, path); }, clock);
  } else {
    const std::string udid = simctl.resolve(device).udid;
    if (cleanStatusBar) simctl.cleanStatusBar(udid);
    if (appearance) simctl.setAppearance(udid, *appearance == "dark");
    if (deepLink) simctl.openURL(udid, *deepLink);
    std::optional<int> display = simctl.litDisplay(udid);
    waitForStableScreen(
        target, kSettleTimeout, [&](const std::string& path) { simctl.screenshot(udid, display, path); }, clock);
  }
  return {relative, chosen};
}

std::string Capturer::recordVideo(const FileProjectStore& store, const std::string& name, const std::string& locale,
                                  const std::optional<std::string>& device, double seconds,
                                  const std::optional<std::string>& deepLink, bool cleanStatusBar) const {
  checkName(name);
  FileName::check(locale, "Locale");
  if (!(seconds >= 1 && seconds <= 30)) throw VornoError::invalid("Record 1–30 seconds: a creative's loop is 5–30 s.");
  const std::string relative = "captures/" + locale + "/" + name + ".mov";
  checkedWritePath(store.root(), relative);

  const std::string udid = simctl.resolve(device).udid;
  if (cleanStatusBar) simctl.cleanStatusBar(udid);
  if (deepLink) simctl.openURL(udid, *deepLink);
  std::optional<int> display = simctl.litDisplay(udid);
  // simctl writes wherever its path leads, links included, and the recording lasts long after the
  // place was looked at: it records into a folder of our own, and the movie is copied into the
  // package from the package down.
  ShotFolder recording;
  const fs::path movie = recording.path() / (name + ".mov");
  simctl.recordVideo(udid, display, movie.string(), seconds);
  copyFileBelow(movie, store.root(), relative);
  return relative;
}

std::optional<std::string> Capturer::blankNote(const Image& image) {
  if (!Simctl::isDark(image)) return std::nullopt;
  return "The capture is completely black: that display shows nothing. Wake or unlock the simulator, bring the app to "
         "the front (on an iPhone Duo, the display that's open), and capture again.";
}

}  // namespace vorno
