// What `vorno devices` prints after the frames, apart from the command so tests can hand it a
// simulator control of their own.
#pragma once

#include <string>

namespace vorno {
class Simctl;
}

namespace vorno::cli {

/// "\nBooted simulators:" and a line "  <name>  <udid>" per booted simulator; nothing when none is
/// booted or the simulators can't be asked.
std::string bootedSimulatorsListing(const Simctl& simctl);

}  // namespace vorno::cli
