// `vorno capture` with the capturer and the output stream handed in, so tests can point it at
// stand-ins for the device tools.
#pragma once

#include <iosfwd>

namespace vorno {
class Capturer;
}

namespace vorno::cli {

struct ParsedArguments;

/// Runs the command with this capturer, printing to `out`; returns the exit status.
int runCaptureWith(const ParsedArguments& args, const Capturer& capturer, std::ostream& out);

}  // namespace vorno::cli
