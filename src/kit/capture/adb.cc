#include "kit/capture/adb.h"

#include "kit/util/atomic_write.h"
#include "kit/util/format.h"
#include "kit/util/paths.h"
#include "kit/util/shell.h"
#include "kit/util/vorno_error.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace vorno {

namespace fs = std::filesystem;

namespace {

// The limits of the commands, in seconds.
constexpr int kListLimit = 30;
constexpr int kAvdNameLimit = 5;
constexpr int kListAvdsLimit = 15;
constexpr int kBootCompletedLimit = 5;
constexpr int kCommandLimit = 30;
// An emulator's cold boot takes one to three minutes on a laptop.
constexpr CaptureClock::Seconds kBootWait{240};
constexpr CaptureClock::Seconds kBootPoll{2};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> wordsOf(const std::string& line) {
  std::vector<std::string> words;
  std::istringstream in(line);
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

std::string displayNames(const std::vector<Adb::Device>& devices) {
  std::vector<std::string> names;
  for (const auto& device : devices) names.push_back(device.displayName());
  return joined(names);
}

bool isFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

std::optional<std::string> variable(const char* name) {
  const char* value = std::getenv(name);
  if (!value || !*value) return std::nullopt;
  return std::string(value);
}

}  // namespace

AndroidSdkPlaces AndroidSdkPlaces::current() {
  return {variable("ANDROID_HOME"), variable("ANDROID_SDK_ROOT"), homeFolder()};
}

std::vector<fs::path> AndroidSdkPlaces::candidates() const {
  std::vector<fs::path> folders;
  if (androidHome && !androidHome->empty()) folders.emplace_back(*androidHome);
  if (androidSdkRoot && !androidSdkRoot->empty()) folders.emplace_back(*androidSdkRoot);
  if (!home.empty()) {
    folders.push_back(home / "Android" / "Sdk");  // Android Studio on Linux
    folders.push_back(home / "Library" / "Android" / "sdk");  // Android Studio on a Mac
  }
  return folders;
}

std::string Adb::Device::displayName() const {
  if (avd) return *avd;
  if (model) return *model;
  return serial;
}

Adb::Adb() : Adb(AndroidSdkPlaces::current()) {}

Adb::Adb(const AndroidSdkPlaces& places) {
  for (const auto& folder : places.candidates()) {
    if (!isFile(folder / "platform-tools" / "adb")) continue;
    adbPath = (folder / "platform-tools" / "adb").string();
    if (isFile(folder / "emulator" / "emulator")) emulatorPath = (folder / "emulator" / "emulator").string();
    return;
  }
  throw VornoError::notFound("Android SDK not found. Install Android Studio, or set ANDROID_HOME.");
}

std::string Adb::adb(const std::vector<std::string>& arguments, int timeoutSeconds) const {
  return Shell::run(adbPath, arguments, timeoutSeconds);
}

std::vector<Adb::Device> Adb::parseDevices(const std::string& text) {
  std::vector<std::string> lines;
  for (const auto& line : linesOf(text))
    if (!trimmed(line).empty()) lines.push_back(line);
  std::vector<Device> devices;
  for (size_t i = 1; i < lines.size(); ++i) {  // the first line is the header
    std::vector<std::string> words = wordsOf(lines[i]);
    if (words.size() < 2) continue;
    Device device{words[0], words[1], std::nullopt, std::nullopt};
    for (size_t w = 2; w < words.size(); ++w) {
      if (words[w].rfind("model:", 0) != 0) continue;
      std::string model = words[w].substr(6);
      std::replace(model.begin(), model.end(), '_', ' ');
      device.model = model;
      break;
    }
    devices.push_back(std::move(device));
  }
  return devices;
}

std::vector<Adb::Device> Adb::devices() const {
  std::vector<Device> devices = parseDevices(adb({"devices", "-l"}, kListLimit));
  for (auto& device : devices) {
    if (device.serial.rfind("emulator-", 0) != 0) continue;
    // The emulator's console answers with the name and an "OK" line, in CR LF lines. A console
    // that doesn't answer only costs the name.
    try {
      std::vector<std::string> answer = linesOf(adb({"-s", device.serial, "emu", "avd", "name"}, kAvdNameLimit));
      std::string name = answer.empty() ? "" : trimmed(answer.front());
      if (!name.empty()) device.avd = name;
    } catch (const VornoError&) {
    }
  }
  return devices;
}

Adb::Device Adb::resolve(const std::optional<std::string>& name) const {
  std::vector<Device> running;
  for (auto& device : devices())
    if (device.state == "device") running.push_back(std::move(device));
  if (running.empty())
    throw VornoError::notFound("No Android device or emulator is running. Boot one with device_boot (AVDs: " +
                               joined(avds()) + ").");
  if (!name || *name == "booted") {
    if (running.size() == 1) return running.front();
    throw VornoError::invalid(std::to_string(running.size()) + " Android devices are connected (" +
                              displayNames(running) + "). Pass a serial or AVD name.");
  }
  for (const auto& device : running)
    if (device.serial == *name || device.avd == *name || device.model == *name) return device;
  throw VornoError::notFound("No running Android device matches " + *name + ". Running: " + displayNames(running) +
                             ".");
}

std::vector<std::string> Adb::avds() const {
  if (!emulatorPath) return {};
  std::vector<std::string> names;
  try {
    for (const auto& line : linesOf(Shell::run(*emulatorPath, {"-list-avds"}, kListAvdsLimit))) {
      std::string name = trimmed(line);
      // The emulator prints its own notes ("INFO    | ...") to the same stream.
      if (!name.empty() && name.rfind("INFO", 0) != 0) names.push_back(name);
    }
  } catch (const VornoError&) {
    return {};
  }
  return names;
}

Adb::Device Adb::boot(const std::string& avd) const {
  auto runningEmulator = [&]() -> std::optional<Device> {
    try {
      for (const auto& device : devices())
        if (device.avd == avd) return device;
    } catch (const VornoError&) {
      // adb's server may still be starting; the next look will tell.
    }
    return std::nullopt;
  };
  if (auto device = runningEmulator(); device && device->state == "device") return *device;
  if (!emulatorPath) throw VornoError::notFound("The Android emulator isn't installed.");
  std::vector<std::string> names = avds();
  if (std::find(names.begin(), names.end(), avd) == names.end())
    throw VornoError::notFound("No AVD named " + avd + ". AVDs: " + joined(names) + ".");

  Shell::spawn(*emulatorPath, {"-avd", avd, "-no-boot-anim"});
  const auto started = clock.now();
  while (clock.now() - started < kBootWait) {
    clock.sleep(kBootPoll);
    std::optional<Device> device = runningEmulator();
    if (!device) continue;
    try {
      if (trimmed(adb({"-s", device->serial, "shell", "getprop", "sys.boot_completed"}, kBootCompletedLimit)) == "1")
        return *device;
    } catch (const VornoError&) {
      // "device offline" while it boots.
    }
  }
  throw VornoError::io(avd + " didn't finish booting within 4 minutes.");
}

std::vector<std::vector<std::string>> Adb::demoCommands() {
  return {{"enter"},
          {"clock", "-e", "hhmm", "0941"},
          {"battery", "-e", "level", "100", "-e", "plugged", "false"},
          {"network", "-e", "wifi", "show", "-e", "level", "4"},
          {"network", "-e", "mobile", "show", "-e", "level", "4", "-e", "datatype", "none"},
          {"notifications", "-e", "visible", "false"}};
}

void Adb::cleanStatusBar(const std::string& serial) const {
  adb({"-s", serial, "shell", "settings", "put", "global", "sysui_demo_allowed", "1"}, kCommandLimit);
  for (const auto& words : demoCommands()) {
    std::vector<std::string> arguments{"-s",   serial, "shell", "am",       "broadcast",
                                       "-a",   "com.android.systemui.demo", "-e", "command"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    adb(arguments, kCommandLimit);
  }
}

void Adb::setDarkMode(const std::string& serial, bool dark) const {
  adb({"-s", serial, "shell", "cmd", "uimode", "night", dark ? "yes" : "no"}, kCommandLimit);
}

std::string Adb::shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

void Adb::openURL(const std::string& serial, const std::string& url) const {
  // adb joins the words into one line that the device's shell parses again: unquoted, a "&" in a
  // query would end the command there.
  adb({"-s", serial, "shell", "am", "start", "-W", "-a", "android.intent.action.VIEW", "-d", shellQuoted(url)},
      kCommandLimit);
}

void Adb::screenshot(const std::string& serial, const std::string& path) const {
  std::string png = Shell::runData(adbPath, {"-s", serial, "exec-out", "screencap", "-p"}, kCommandLimit);
  static const std::string signature("\x89PNG\r\n\x1a\n", 8);
  if (png.compare(0, signature.size(), signature) != 0)
    throw VornoError::io("screencap returned no PNG from " + serial + ".");
  fs::path target(path);
  if (target.has_parent_path()) createFolders(target.parent_path());
  atomicWrite(target, png);
}

}  // namespace vorno
