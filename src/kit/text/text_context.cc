#include "kit/text/text_context.h"

#include "kit/text/font_config.h"

#include <cairo.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>

namespace vorno::TextContext {
namespace {

struct ThreadContext {
  PangoFontMap* map = nullptr;
  PangoContext* context = nullptr;
  uint64_t generation = 0;
  std::shared_ptr<FcConfig> config;  // kept alive as long as the map reads it

  ~ThreadContext() { reset(); }
  void reset() {
    if (context) g_object_unref(context);
    if (map) g_object_unref(map);
    context = nullptr;
    map = nullptr;
  }
};

thread_local ThreadContext threadContext;

}  // namespace

PangoContext* current() {
  FontConfig::Snapshot snapshot = FontConfig::current();
  ThreadContext& t = threadContext;
  if (t.context && t.generation == snapshot.generation) return t.context;

  t.reset();
  // A map of our own rather than the per-thread default: its configuration is the snapshot, and
  // nothing else in the process (librsvg, say) changes its settings under us.
  t.map = pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT);
  pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(t.map), snapshot.config.get());
  t.config = snapshot.config;
  t.generation = snapshot.generation;
  t.context = pango_font_map_create_context(t.map);

  // Outlines are placed where the design says, not on the pixel grid: a text fitted at one
  // scale must wrap the same when a layer draws it at another.
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
  pango_cairo_context_set_font_options(t.context, options);
  cairo_font_options_destroy(options);
  pango_context_set_round_glyph_positions(t.context, FALSE);
  // The process's locale must not change how a text breaks or which face a script takes; a
  // text's own language arrives as an attribute of its layout.
  pango_context_set_language(t.context, pango_language_from_string("en"));
  return t.context;
}

}  // namespace vorno::TextContext
