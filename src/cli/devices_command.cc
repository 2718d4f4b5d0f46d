// `vorno devices`: the frame catalogue, one aligned line per frame, then the booted simulators.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "cli/devices_command.h"
#include "kit/capture/simctl.h"
#include "kit/devices/device_catalog.h"
#include "kit/util/vorno_error.h"

#include <cmath>
#include <iostream>
#include <string>

namespace vorno::cli {
namespace {

// Pads with blanks or cuts to `width` characters (code points, so "×" counts as one).
std::string column(const std::string& text, size_t width) {
  std::string out;
  size_t count = 0;
  for (size_t i = 0; i < text.size();) {
    size_t length = 1;
    unsigned char lead = static_cast<unsigned char>(text[i]);
    if (lead >= 0xF0) length = 4;
    else if (lead >= 0xE0) length = 3;
    else if (lead >= 0xC0) length = 2;
    if (count == width) break;
    out.append(text, i, length);
    ++count;
    i += length;
  }
  out.append(width - count, ' ');
  return out;
}

/// One catalogue line: id, size, radius in whole pixels, and where the screen's shape comes from.
std::string deviceLine(const DeviceFrame& frame) {
  std::string size = std::to_string(frame.screenWidth) + "\u00D7" + std::to_string(frame.screenHeight);
  double radius = std::trunc(frame.screenCornerRadius);
  std::string whole = std::isfinite(radius) && std::abs(radius) < 1e15 ? std::to_string(static_cast<long long>(radius)) : "0";
  return column(frame.id, 28) + " " + column(size, 11) + " r=" + whole + "px  " +
         (frame.maskPDFPath ? "Xcode mask" : "builtin shape");
}

}  // namespace

std::string bootedSimulatorsListing(const Simctl& simctl) {
  std::vector<Simctl::Device> booted;
  try {
    booted = simctl.bootedDevices();
  } catch (const VornoError&) {
    return "";  // no simulator tools here (or none that work): the frames are the whole answer
  }
  if (booted.empty()) return "";
  std::string text = "\nBooted simulators:\n";
  for (const auto& device : booted) text += "  " + device.name + "  " + device.udid + "\n";
  return text;
}

int runDevices(const ParsedArguments&) {
  for (const auto& frame : DeviceCatalog::shared().frames) std::cout << deviceLine(frame) << "\n";
  std::cout << bootedSimulatorsListing(Simctl());
  return 0;
}

}  // namespace vorno::cli
