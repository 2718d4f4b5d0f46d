#include "kit/capture/simctl.h"

#include "kit/image/box_resampler.h"
#include "kit/image/image.h"
#include "kit/image/images.h"
#include "kit/util/atomic_write.h"
#include "kit/util/child_process.h"
#include "kit/util/format.h"
#include "kit/util/shell.h"
#include "kit/util/vorno_error.h"

#include <nlohmann/json.hpp>

#include <signal.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <sstream>

namespace vorno {

namespace fs = std::filesystem;

namespace {

// The limits of the commands, in seconds.
constexpr int kQuickLimit = 60;
constexpr int kBootLimit = 120;
constexpr int kBootStatusLimit = 240;

std::string joinedNames(const std::vector<Simctl::Device>& devices) {
  std::string text;
  for (const auto& device : devices) text += (text.empty() ? "" : ", ") + device.name;
  return text;
}

bool startsWith(const std::string& text, std::string_view prefix) { return text.rfind(prefix, 0) == 0; }

std::optional<int> wholeNumber(const std::string& text) {
  if (text.empty() || text.size() > 9 || !std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isdigit(c);
      }))
    return std::nullopt;
  return std::stoi(text);
}

// The runs of digits in `text`, as numbers.
std::vector<std::string> digitRuns(const std::string& text) {
  std::vector<std::string> runs;
  std::string current;
  for (char c : text) {
    if (std::isdigit(static_cast<unsigned char>(c))) {
      current += c;
    } else if (!current.empty()) {
      runs.push_back(current);
      current.clear();
    }
  }
  if (!current.empty()) runs.push_back(current);
  return runs;
}

// Removes every occurrence of `part`.
std::string without(std::string text, const std::string& part) {
  for (size_t at; (at = text.find(part)) != std::string::npos;) text.erase(at, part.size());
  return text;
}

}  // namespace

void Simctl::requireXcrun() const {
  // Said before anything runs, so a machine without Xcode gets one sentence that says what is
  // missing instead of a launch failure.
  if (!Shell::isExecutable(xcrunPath))
    throw VornoError::notFound(xcrunPath +
                               " isn't installed: iOS simulators need a Mac with Xcode. On this machine, capture an "
                               "Android emulator or device (platform android).");
}

std::string Simctl::simctl(const std::vector<std::string>& arguments, int timeoutSeconds) const {
  requireXcrun();
  std::vector<std::string> all{"simctl"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return Shell::run(xcrunPath, all, timeoutSeconds);
}

std::vector<Simctl::Device> Simctl::parseDevices(const std::string& json) {
  nlohmann::json raw = nlohmann::json::parse(json, nullptr, false);
  if (raw.is_discarded() || !raw.is_object() || !raw.contains("devices") || !raw["devices"].is_object())
    throw VornoError::io("simctl list devices gave no device list. Check that Xcode's command-line tools work.");
  std::vector<Device> devices;
  for (const auto& [runtime, list] : raw["devices"].items()) {
    if (!list.is_array()) continue;
    for (const auto& entry : list) {
      if (!entry.is_object()) continue;
      auto text = [&](const char* key) -> std::optional<std::string> {
        auto found = entry.find(key);
        if (found == entry.end() || !found->is_string()) return std::nullopt;
        return found->get<std::string>();
      };
      // A simulator whose runtime was removed stays in the list as unavailable; it can't boot.
      if (auto available = entry.find("isAvailable"); available != entry.end() && available->is_boolean() &&
                                                      !available->get<bool>())
        continue;
      auto udid = text("udid"), name = text("name"), state = text("state");
      if (!udid || !name || !state) continue;
      devices.push_back({*udid, *name, *state, without(runtime, "com.apple.CoreSimulator.SimRuntime."),
                         text("deviceTypeIdentifier")});
    }
  }
  std::stable_sort(devices.begin(), devices.end(), [](const Device& a, const Device& b) { return a.name < b.name; });
  return devices;
}

std::vector<Simctl::Device> Simctl::devices() const {
  return parseDevices(simctl({"list", "devices", "--json"}, kQuickLimit));
}

std::vector<Simctl::Device> Simctl::bootedDevices() const {
  std::vector<Device> booted;
  for (auto& device : devices())
    if (device.state == "Booted") booted.push_back(std::move(device));
  return booted;
}

Simctl::Device Simctl::resolve(const std::optional<std::string>& query) const {
  std::vector<Device> booted = bootedDevices();
  if (!query || *query == "booted") {
    if (booted.empty())
      throw VornoError::notFound("No simulator is booted. Boot one in Xcode or with `xcrun simctl boot <name>`.");
    if (booted.size() == 1) return booted.front();
    throw VornoError::invalid(std::to_string(booted.size()) + " simulators are booted (" + joinedNames(booted) +
                              "). Pass a device name or UDID.");
  }
  for (const auto& device : booted)
    if (device.udid == *query || device.name == *query) return device;
  throw VornoError::notFound("No booted simulator matches " + *query + ". Booted: " + joinedNames(booted) + ".");
}

Simctl::Device Simctl::boot(const std::string& query) const {
  std::vector<Device> all = devices();
  auto found = std::find_if(all.begin(), all.end(),
                            [&](const Device& device) { return device.udid == query || device.name == query; });
  if (found == all.end())
    throw VornoError::notFound("No simulator named " + query + ". Available: " + joinedNames(all) + ".");
  if (found->state != "Booted") simctl({"boot", found->udid}, kBootLimit);
  simctl({"bootstatus", found->udid, "-b"}, kBootStatusLimit);
  return *found;
}

std::vector<std::string> Simctl::statusBarArguments() {
  return {"--time",         "9:41",   "--dataNetwork",  "wifi",   "--wifiMode",     "active",
          "--wifiBars",     "3",      "--cellularMode", "active", "--cellularBars", "4",
          "--operatorName", "",       "--batteryState", "charged", "--batteryLevel", "100"};
}

void Simctl::cleanStatusBar(const std::string& udid) const {
  std::vector<std::string> arguments{"status_bar", udid, "override"};
  for (auto& argument : statusBarArguments()) arguments.push_back(std::move(argument));
  simctl(arguments, kQuickLimit);
}

void Simctl::setAppearance(const std::string& udid, bool dark) const {
  simctl({"ui", udid, "appearance", dark ? "dark" : "light"}, kQuickLimit);
}

void Simctl::openURL(const std::string& udid, const std::string& url) const {
  simctl({"openurl", udid, url}, kQuickLimit);
}

std::vector<Simctl::Screen> Simctl::parseScreens(const std::string& text) {
  std::vector<Screen> screens;
  std::vector<std::pair<std::string, std::string>> record;
  auto value = [&](const std::string& key) -> std::optional<std::string> {
    for (const auto& [k, v] : record)
      if (k == key) return v;
    return std::nullopt;
  };
  auto flush = [&] {
    auto size = value("Pixel Size");
    auto id = value("Screen ID");
    std::vector<std::string> sides = size ? digitRuns(*size) : std::vector<std::string>{};
    std::optional<int> number = id ? wholeNumber(*id) : std::nullopt;
    std::optional<int> width = sides.size() == 2 ? wholeNumber(sides[0]) : std::nullopt;
    std::optional<int> height = sides.size() == 2 ? wholeNumber(sides[1]) : std::nullopt;
    if (number && width && height) screens.push_back({*number, value("Screen Type").value_or(""), *width, *height});
    record.clear();
  };
  bool connected = false;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    line = trimmed(line);
    if (!connected) {
      connected = startsWith(line, "Connected Screens");
      continue;
    }
    if (startsWith(line, "Port:") || (startsWith(line, "(") && !line.empty() && line.back() == ':')) {
      flush();
      continue;
    }
    size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    record.emplace_back(trimmed(line.substr(0, colon)), trimmed(line.substr(colon + 1)));
  }
  flush();
  return screens;
}

std::vector<Simctl::Screen> Simctl::screens(const std::string& udid) const {
  return parseScreens(simctl({"io", udid, "enumerate"}, kQuickLimit));
}

void Simctl::screenshot(const std::string& udid, std::optional<int> display, const std::string& path) const {
  std::vector<std::string> arguments{"io", udid, "screenshot", "--type=png"};
  if (display) arguments.push_back("--display=" + std::to_string(*display));
  arguments.push_back(path);
  simctl(arguments, kQuickLimit);
}

std::optional<int> Simctl::litDisplay(const std::string& udid) const {
  std::vector<Screen> integrated;
  for (const auto& screen : screens(udid))
    if (screen.type == "Integrated") integrated.push_back(screen);
  if (integrated.size() < 2) return std::nullopt;
  std::stable_sort(integrated.begin(), integrated.end(), [](const Screen& a, const Screen& b) {
    return static_cast<long long>(a.width) * a.height > static_cast<long long>(b.width) * b.height;
  });
  for (const auto& screen : integrated) {
    fs::path shot = fs::temp_directory_path() / ("vorno-display-" + randomUUID() + ".png");
    struct Removed {
      fs::path path;
      ~Removed() {
        std::error_code ignored;
        fs::remove(path, ignored);
      }
    } removed{shot};
    screenshot(udid, screen.id, shot.string());
    if (!isDark(Images::load(shot.string()))) return screen.id;
  }
  throw VornoError::invalid("Every display of this simulator is dark. Unlock it and bring the app to the front.");
}

bool Simctl::isDark(const Image& image) {
  if (!image) return true;
  constexpr int side = 48;
  constexpr int darkest = 5;
  Image small = image;
  if (image.width() >= side && image.height() >= side) {
    ResampleGrid grid;
    grid.width = image.width();
    grid.height = image.height();
    grid.scaleX = static_cast<double>(side) / image.width();
    grid.scaleY = static_cast<double>(side) / image.height();
    grid.outWidth = side;
    grid.outHeight = side;
    if (Image resampled = BoxResampler::resample(image, grid)) small = resampled;
  }
  // Pixels are premultiplied, so a transparent one counts as black, as on an opaque bitmap.
  const uint8_t* rows = small.data();
  for (int y = 0; y < small.height(); ++y) {
    const uint32_t* row = reinterpret_cast<const uint32_t*>(rows + static_cast<size_t>(y) * small.stride());
    for (int x = 0; x < small.width(); ++x) {
      uint32_t pixel = row[x];
      if (((pixel >> 16) & 0xFF) > darkest || ((pixel >> 8) & 0xFF) > darkest || (pixel & 0xFF) > darkest)
        return false;
    }
  }
  return true;
}

void Simctl::recordVideo(const std::string& udid, std::optional<int> display, const std::string& path,
                         double seconds) const {
  requireXcrun();
  std::vector<std::string> arguments{"simctl", "io", udid, "recordVideo", "--codec=h264"};
  if (display) arguments.push_back("--display=" + std::to_string(*display));
  arguments.push_back("--force");
  arguments.push_back(path);
  ChildProcess recorder(xcrunPath, arguments);

  const auto poll = CaptureClock::Seconds(0.05);
  const auto started = clock.now();
  while (recorder.isRunning() && recorder.errorOutput().find("Recording started") == std::string::npos &&
         clock.now() - started < CaptureClock::Seconds(10))
    clock.sleep(poll);
  clock.sleep(CaptureClock::Seconds(seconds));
  // simctl writes the end of the movie when it is interrupted; a terminated recording is no file.
  recorder.signal(SIGINT);
  const auto interrupted = clock.now();
  while (recorder.isRunning() && clock.now() - interrupted < CaptureClock::Seconds(15)) clock.sleep(poll);
  if (recorder.isRunning()) recorder.kill();
  std::error_code error;
  if (!fs::exists(path, error))
    throw VornoError::io("The simulator didn't write a recording. Is the app on screen and the simulator booted?");
}

}  // namespace vorno
