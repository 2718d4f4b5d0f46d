// The file name each layer of `render --layers` is written under: its number, so the files sort
// in stacking order, then its id made safe for any file system.
#pragma once

#include <cstddef>
#include <string>

namespace vorno {

/// "%02d-" of the layer's number, then its id with anything but letters, digits and "-" made "_",
/// then ".png": "00-hero_phone_1.png" for layer 0, "hero phone/1".
std::string layerFileName(size_t index, const std::string& id);

}  // namespace vorno
