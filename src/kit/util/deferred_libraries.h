// Deferred libraries: FFmpeg, libheif, poppler and librsvg are not linked to the program but
// loaded the first time one of their functions is called (deferred_symbols.S, .inc), so a run
// that draws no video, HEIC, PDF or SVG never maps them and their hundred dependencies.
//
// Nothing to call for that: the stand-ins load on demand. `require` loads one up front, for a
// door that wants a sentence rather than an abort when a library is missing.
#pragma once

#include <string>

namespace vorno::DeferredLibraries {

/// Loads the library of that soname (e.g. "libavcodec.so.59") now; a VornoError naming it when
/// it can't be loaded.
void require(const std::string& soname);

/// Whether the library of that soname has been loaded in this process.
bool loaded(const std::string& soname);

}  // namespace vorno::DeferredLibraries
