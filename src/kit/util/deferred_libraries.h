// Deferred libraries: FFmpeg, libheif, poppler, librsvg, libjpeg, libwebp, libtiff and libplist
// are not linked to the program but loaded the first time one of their functions is called
// (deferred_symbols.S, .inc), so a run that reads no video, HEIC, PDF, SVG, JPEG, WebP, TIFF or
// property list never maps them and their hundred dependencies: `vorno --version` maps only what
// drawing a slide needs.
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
