// How long a test waits for something that takes milliseconds before it calls it a hang.
#pragma once

#include <chrono>

namespace vorno::testing {

/// Long enough for anything a test waits on to happen on a slow, loaded machine; reached only
/// when what the test waits for never comes. Never part of what a test proves.
inline constexpr std::chrono::seconds hangGuard{120};

}  // namespace vorno::testing
