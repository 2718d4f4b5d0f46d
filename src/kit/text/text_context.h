// TextContext: the Pango context of the calling thread, on a font map of the current fontconfig
// snapshot. Pango font maps and contexts are not safe to share across threads, so every thread
// keeps its own pair (their font caches make the second layout of a face cheap) and renews it when
// a package registers fonts.
#pragma once

typedef struct _PangoContext PangoContext;

namespace vorno::TextContext {

/// The calling thread's context: unhinted metrics and unrounded glyph positions, so that a text
/// measures the same at every scale it is later drawn at. Owned by the thread; do not unref.
PangoContext* current();

}  // namespace vorno::TextContext
