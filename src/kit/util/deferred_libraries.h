// Deferred libraries: FFmpeg, libheif, poppler, librsvg, libjpeg, libwebp, libtiff, libplist and
// the drawing and text stack (cairo, pango, HarfBuzz, fontconfig, GLib) are not linked to the
// program but loaded the first time one of their functions is called (deferred_symbols.S, .inc).
// A run that reads no video, HEIC, PDF, SVG, JPEG, WebP, TIFF or property list never maps those
// and their hundred dependencies, and one that draws nothing (`vorno --version`) maps no more than
// the C++ runtime, ICU and the PNG codecs.
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
