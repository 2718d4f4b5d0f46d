// Test support: stand-ins for `xcrun`, and for an Android SDK's `adb` and `emulator`, written as
// small shell scripts that replay recorded output from a state folder and note every call. A test
// writes what the real program printed (simctl's device list, `adb devices -l`, an emulator
// console's "<name>\r\nOK") into the state, runs the code, and reads back the calls it made.
//
//   FakeAndroidSdk sdk(folder.path());
//   sdk.setDevices("List of devices attached\nemulator-5554 device product:sdk model:Pixel_9 ...\n");
//   sdk.setAvdName("emulator-5554", "Pixel_9_Pro\r\nOK\r\n");
//   sdk.addScreen(pngBytes);
//   Adb adb(sdk.places());
//
// Calls are kept one per line with their arguments separated by the unit separator (0x1F), so
// an argument holding blanks or quotes comes back exactly as it was passed.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kit/capture/adb.h"

namespace vorno::testing {

/// One call's arguments, in order.
using FakeCall = std::vector<std::string>;

inline std::vector<FakeCall> readCalls(const std::filesystem::path& file) {
  std::vector<FakeCall> calls;
  std::ifstream in(file, std::ios::binary);
  for (std::string line; std::getline(in, line);) {
    FakeCall call;
    std::string word;
    for (char c : line) {
      if (c == '\x1f') {
        call.push_back(word);
        word.clear();
      } else {
        word += c;
      }
    }
    calls.push_back(call);
  }
  return calls;
}

inline void writeFile(const std::filesystem::path& path, const std::string& bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

inline void writeScript(const std::filesystem::path& path, const std::string& text) {
  writeFile(path, text);
  ::chmod(path.c_str(), 0755);
}

// The shell lines that note a call: every argument followed by 0x1F, one call a line.
inline std::string recordCallTo(const std::string& file) {
  return "line=$(for a in \"$@\"; do printf '%s\\037' \"$a\"; done)\n"
         "printf '%s\\n' \"$line\" >> \"$state/" + file + "\"\n";
}

/// `xcrun` as simctl answers: `list devices --json` prints state/devices.json, `io <udid>
/// enumerate` prints state/enumerate, `io ... screenshot` copies state/display-<id>.png (or
/// display-main.png without --display) to the path, and `io ... recordVideo` says "Recording
/// started" and writes the movie when interrupted. state/hang-list makes `list` sleep until killed
/// (its pid in state/pid first); state/fail-boot makes `boot` exit 1 silently.
class FakeXcrun {
 public:
  explicit FakeXcrun(const std::filesystem::path& folder) : path_(folder / "bin" / "xcrun"), state_(folder / "xcrun-state") {
    std::filesystem::create_directories(state_);
    writeScript(path_, "#!/bin/sh\nstate='" + state_.string() + "'\n" + recordCallTo("calls") +
                           "[ \"$1\" = simctl ] || exit 2\n"
                           "shift\n"
                           "case \"$1\" in\n"
                           "  list) if [ -f \"$state/hang-list\" ]; then echo $$ > \"$state/pid.new\";"
                           " mv \"$state/pid.new\" \"$state/pid\"; exec sleep 600; fi\n"
                           "    cat \"$state/devices.json\" ;;\n"
                           "  boot) if [ -f \"$state/fail-boot\" ]; then exit 1; fi ;;\n"
                           "  io) case \"$3\" in\n"
                           "    enumerate) cat \"$state/enumerate\" ;;\n"
                           "    screenshot) display=main\n"
                           "      for a in \"$@\"; do case \"$a\" in --display=*) display=\"${a#--display=}\";; esac;"
                           " last=\"$a\"; done\n"
                           "      cp \"$state/display-$display.png\" \"$last\" || exit 1 ;;\n"
                           "    recordVideo) for a in \"$@\"; do last=\"$a\"; done\n"
                           "      trap 'printf movie > \"$last\"; kill $sleeper 2>/dev/null; exit 0' INT\n"
                           "      sleep 600 & sleeper=$!\n"
                           "      echo 'Recording started' >&2\n"
                           "      wait $sleeper ;;\n"
                           "    esac ;;\n"
                           "esac\n");
  }

  std::string path() const { return path_.string(); }
  const std::filesystem::path& state() const { return state_; }
  std::vector<FakeCall> calls() const { return readCalls(state_ / "calls"); }
  void setDevices(const std::string& json) const { writeFile(state_ / "devices.json", json); }
  void setEnumerate(const std::string& text) const { writeFile(state_ / "enumerate", text); }
  /// The picture `screenshot` gives for `display` ("main": no --display argument).
  void setDisplay(const std::string& display, const std::string& png) const {
    writeFile(state_ / ("display-" + display + ".png"), png);
  }
  void set(const std::string& flag) const { writeFile(state_ / flag, ""); }

 private:
  std::filesystem::path path_;
  std::filesystem::path state_;
};

/// An SDK folder with platform-tools/adb and emulator/emulator. `adb devices -l` prints
/// state/devices; `-s <serial> emu avd name` prints state/avd-<serial> or fails as an unreachable
/// console does; `shell` lines are parsed again as the device's shell does and noted in
/// state/device-calls; `getprop sys.boot_completed` answers state/boot-<serial>, else 1;
/// `exec-out screencap -p` gives screens/<n>.png for the n-th shot (the last one again once they
/// run out) or, with state/screen-changing, a different one every 0.1 s, and keeps a copy of each
/// shot it gave in shots/. `emulator -list-avds` prints state/avds; `emulator -avd <name>` makes
/// an emulator of that AVD appear under the serial in state/boot-serial, and with
/// state/emulator-stays keeps running (its pid in state/emulator-pid) until state/emulator-release.
class FakeAndroidSdk {
 public:
  explicit FakeAndroidSdk(const std::filesystem::path& folder, bool withEmulator = true)
      : root_(folder / "sdk"), state_(folder / "android-state") {
    std::filesystem::create_directories(state_ / "screens");
    std::filesystem::create_directories(state_ / "shots");
    writeFile(state_ / "devices", "List of devices attached\n\n");
    writeScript(root_ / "platform-tools" / "adb",
                "#!/bin/sh\nstate='" + state_.string() + "'\n" + recordCallTo("calls") +
                    "serial=\n"
                    "if [ \"$1\" = -s ]; then serial=\"$2\"; shift 2; fi\n"
                    "case \"$1\" in\n"
                    "  devices) cat \"$state/devices\" ;;\n"
                    "  emu) if [ -f \"$state/avd-$serial\" ]; then cat \"$state/avd-$serial\"; else\n"
                    "      echo \"error: could not connect to TCP port 5554: Connection refused\" >&2; exit 1; fi ;;\n"
                    "  exec-out) n=$(ls \"$state/shots\" | wc -l); count=$(ls \"$state/screens\" | wc -l)\n"
                    "    if [ -f \"$state/screen-changing\" ]; then t=$(date +%s%N); i=$(( (t / 100000000) % count ))\n"
                    "    elif [ \"$n\" -lt \"$count\" ]; then i=$n; else i=$((count - 1)); fi\n"
                    "    cp \"$state/screens/$i.png\" \"$state/shots/.$n.png\" && mv \"$state/shots/.$n.png\" "
                    "\"$state/shots/$n.png\"\n"
                    "    cat \"$state/shots/$n.png\" ;;\n"
                    "  shell) shift; words=\"$*\"; eval \"set -- $words\"\n" +
                    recordCallTo("device-calls") +
                    "    case \"$1\" in\n"
                    "      getprop) if [ -f \"$state/boot-$serial\" ]; then cat \"$state/boot-$serial\"; else echo 1; fi ;;\n"
                    "      am) echo 'Broadcast completed: result=0' ;;\n"
                    "    esac ;;\n"
                    "esac\n");
    if (withEmulator)
      writeScript(root_ / "emulator" / "emulator",
                  "#!/bin/sh\nstate='" + state_.string() + "'\n" + recordCallTo("emulator-calls") +
                      "case \"$1\" in\n"
                      "  -list-avds) cat \"$state/avds\" ;;\n"
                      "  -avd) serial=$(cat \"$state/boot-serial\")\n"
                      "    printf '%s\\r\\nOK\\r\\n' \"$2\" > \"$state/avd-$serial\"\n"
                      "    printf '%s          device product:sdk_gphone64_x86_64 model:sdk_gphone64_x86_64 "
                      "device:emu64xa transport_id:3\\n' \"$serial\" >> \"$state/devices\"\n"
                      "    touch \"$state/emulator-up\"\n"
                      "    if [ -f \"$state/emulator-stays\" ]; then echo $$ > \"$state/emulator-pid.new\";"
                      " mv \"$state/emulator-pid.new\" \"$state/emulator-pid\";\n"
                      "      while [ ! -f \"$state/emulator-release\" ]; do sleep 0.05; done; fi ;;\n"
                      "esac\n");
  }

  const std::filesystem::path& root() const { return root_; }
  const std::filesystem::path& state() const { return state_; }
  /// Places that find this SDK through ANDROID_HOME alone.
  AndroidSdkPlaces places() const { return {root_.string(), std::nullopt, std::filesystem::path()}; }
  Adb adb() const { return Adb(places()); }

  void setDevices(const std::string& text) const { writeFile(state_ / "devices", text); }
  void setAvdName(const std::string& serial, const std::string& answer) const {
    writeFile(state_ / ("avd-" + serial), answer);
  }
  void setAvds(const std::string& text) const { writeFile(state_ / "avds", text); }
  void setBootSerial(const std::string& serial) const { writeFile(state_ / "boot-serial", serial); }
  /// The next picture in the order the device shows them.
  void addScreen(const std::string& png) const {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(state_ / "screens")) ++count;
    writeFile(state_ / "screens" / (std::to_string(count) + ".png"), png);
  }
  void setScreenChanging() const { writeFile(state_ / "screen-changing", ""); }

  std::vector<FakeCall> calls() const { return readCalls(state_ / "calls"); }
  /// The `shell` lines as the device's shell parsed them.
  std::vector<FakeCall> deviceCalls() const { return readCalls(state_ / "device-calls"); }
  std::vector<FakeCall> emulatorCalls() const { return readCalls(state_ / "emulator-calls"); }
  /// The pictures screencap gave, in order.
  std::vector<std::string> shots() const {
    std::vector<std::string> pictures;
    for (size_t n = 0;; ++n) {
      std::filesystem::path file = state_ / "shots" / (std::to_string(n) + ".png");
      if (!std::filesystem::exists(file)) return pictures;
      pictures.push_back(readFile(file));
    }
  }

 private:
  std::filesystem::path root_;
  std::filesystem::path state_;
};

}  // namespace vorno::testing
