// The sentence a call fails with, for tests that compare it whole: the VornoError's message, or
// "(no error)" when the call returns.
#pragma once

#include "kit/util/vorno_error.h"

#include <functional>
#include <string>

namespace vorno::testing {

inline std::string errorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const VornoError& error) {
    return error.what();
  }
  return "(no error)";
}

}  // namespace vorno::testing
