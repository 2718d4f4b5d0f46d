// The bodies the program knows by heart: Apple devices by rule from their names, the foldable
// iPhone Duo in its two states, and the eleven built-in frames that stand in when no device-type
// bundle is installed (and for every Android device, which has no bundle at all).
#pragma once

#include "kit/devices/device_frame.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorno::BuiltinSpecs {

/// The body of an Apple device from its name ("iPhone 17 Pro", "iPad Air 11-inch (M3)"); nothing
/// for names that aren't a phone or tablet of their own (memory variants, watches, TVs).
std::optional<FrameSpec> apple(std::string_view name);

/// The id form of a name: transliterated to ASCII, lowercased, inches spelt "in", every run of
/// other characters one "-". "iPad Pro 13-inch (M5)" gives "ipad-pro-13-inch-m5".
std::string slug(std::string_view name);

/// The built-in frames, in table order.
const std::vector<DeviceFrame>& fallbackFrames();

/// The Duo unfolded: a wide screen with a crease across the middle, turning clockwise.
const FrameSpec& duoOpen();
/// The Duo folded: a narrow outer screen beside the hinge, with a punch-hole camera.
const FrameSpec& duoClosed();
const DeviceFrame& duoOpenFrame();
const DeviceFrame& duoClosedFrame();

}  // namespace vorno::BuiltinSpecs
