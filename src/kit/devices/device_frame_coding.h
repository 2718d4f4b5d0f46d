// The JSON forms of device frames, kept apart from `device_frame.h` so that the many files that
// only draw or pick frames don't compile the JSON library.
#pragma once

#include "kit/devices/device_frame.h"
#include "kit/model/coding.h"

namespace vorno {

// JSON forms: the field names are the keys, optional fields are left out when absent. In a
// spec, `bezel`, `band`, `buttons`, `defaultFinish` and `finishes` are required.
#define VORNO_DECLARE_FRAME_CODING(T)  \
  template <>                          \
  struct Coding<T> {                   \
    static T read(const Reader& r);    \
    static Json write(const T& value); \
  };
VORNO_DECLARE_FRAME_CODING(FrameSpec::Island)
VORNO_DECLARE_FRAME_CODING(FrameSpec::PunchHole)
VORNO_DECLARE_FRAME_CODING(FrameSpec::Button)
VORNO_DECLARE_FRAME_CODING(FrameSpec::Hinge)
VORNO_DECLARE_FRAME_CODING(FrameSpec)
VORNO_DECLARE_FRAME_CODING(DeviceFrame::Overlay)
VORNO_DECLARE_FRAME_CODING(DeviceFrame)
#undef VORNO_DECLARE_FRAME_CODING

}  // namespace vorno
