#include "server/creative_docs.h"

#include "kit/model/store_target.h"
#include "kit/util/format.h"

namespace vorno {

namespace {

// Whole pixels: the catalogue's sizes and safe areas are integers held as doubles.
std::string px(double value) { return formatted("%.0f", value); }

std::string size(const StoreTarget& canvas) {
  return std::to_string(canvas.width) + "×" + std::to_string(canvas.height);
}

// One line a canvas, with the safe area as fractions of the canvas from the top left: the units of
// a placement, so the agent can put an element's centre inside it without arithmetic.
std::string canvasLine(const StoreTarget& canvas) {
  std::string line = "- " + canvas.id + " (" + canvas.name + ", " + size(canvas) + "): " + canvas.note;
  if (canvas.safeArea) {
    const Rect& safe = *canvas.safeArea;
    double w = canvas.width, h = canvas.height;
    line += formatted(" Safe area x %.3f–%.3f, y %.3f–%.3f.", safe.minX() / w, safe.maxX() / w, safe.minY() / h,
                      safe.maxY() / h);
  }
  return line + "\n";
}

constexpr const char* kSafeAreaRules =
    "The safe area is what every device shows: outside it, some devices crop the art or cover it. Fractions are "
    "of the canvas from the top left, the units of a placement (x and y are an element's centre, width a "
    "fraction of the canvas width). Keep every word and every component inside it (lint: creative.safe-area); a "
    "device, image or shape may run past it as atmosphere, as long as the idea still reads when only the safe "
    "area shows. The background fills the whole canvas. Search results are shown small: type under 110 px on "
    "ios.search-results and under 130 px on ios.universal is too small to read (creative.text-small). Without "
    "placements the words and the device share the safe area side by side: hero puts the words left of the "
    "device, device-top the device left of the words, text-only centres the words. Hand placements go under "
    "overrides keyed by the canvas id, e.g. \"overrides\": {\"ios.header\": {\"placements\": {\"headline\": "
    "{\"x\": 0.4, \"y\": 0.5, \"width\": 0.2}}}}; canvases never borrow placements from screenshot targets.\n";

constexpr const char* kCreativeJSON =
    "Creative JSON is a slide (slide_upsert lists every field) plus \"canvas\"; the headline is optional. "
    "Example: {\"id\": \"header\", \"canvas\": \"ios.header\", \"eyebrow\": \"NEW IN CREWDAY\", \"headline\": "
    "\"Your crew's week,\\n**sorted**\", \"device\": {\"screenshot\": \"captures/{locale}/week.png\", "
    "\"rotation\": -8}}. The id names files (letters, digits, - and _) and can't be a slide's id: use header, "
    "search or summer-header.\n";

constexpr const char* kStoreRules =
    "Apple's rules for store art (lint: appstore.policy): leave out prices, discounts, URLs and ©; don't repeat "
    "Apple's own recognitions (App of the Day, Editors' Choice, Apple Design Award) or claim awards you can't "
    "show; name no other platform or store; suit ages 4+. Translate every word into each of the project's "
    "locales (text.missing-locale). Show the real app and one clear idea: brand, a season, new content.\n";

constexpr const char* kMotion =
    "Motion (header and search results only): add \"motion\" and the art becomes a looping video; ios.universal "
    "stays a still. Example, with plan and paid the ids of two of the creative's elements:\n"
    "\"motion\": {\"fps\": 30, \"poster\": 1, \"scenes\": [{\"duration\": 4, \"show\": [\"plan\"]}, "
    "{\"duration\": 4, \"show\": [\"paid\"], \"texts\": {\"headline\": \"Paid the **same day**\"}, \"screens\": "
    "{\"device\": \"captures/{locale}/paid.png\"}}], \"transition\": {\"style\": \"rise\", \"duration\": 1}}\n"
    "- fps: 30 or 60 (default 30). duration: the loop in seconds, 5–30; leave it out and the scenes add up to "
    "it. poster: the second shown as the still (default 0).\n"
    "- scenes: shown in turn, looping. Each has duration (seconds); show: the element ids on screen in that scene "
    "(an id that no scene names is always there); texts: {id: text} replacing eyebrow, headline, subhead or a "
    "text or component element's words; screens: {id: capture} replacing the screenshot of \"device\" or of a "
    "device element. The type keeps the size of the longest copy, so only the words change.\n"
    "- transition: style rise, fade, crossfade, slide, zoom or cut (default rise); duration in seconds (default "
    "1.1; 0.8–1.2 reads calm, under 0.4 reads as a cut); elements: {id: style} for single elements. Give each "
    "scene at least the transition plus 1.5 s at rest.\n"
    "- tracks: {id: [keyframes]}, a keyframe {\"t\", \"x\", \"y\", \"scale\", \"rotation\", \"opacity\", "
    "\"ease\"} with x and y the centre as fractions of the canvas and ease linear, in, out, in-out (default) or "
    "hold. End every track where it starts, or the loop jumps.\n"
    "- waves: {id: [{\"property\", \"amplitude\", \"cycles\", \"phase\"}]}, property x, y, scale, rotation or "
    "opacity; waves run whole cycles per loop, so they never jump.\n"
    "- The id \"camera\" in tracks or waves moves the whole picture: {\"waves\": {\"camera\": [{\"property\": "
    "\"scale\", \"amplitude\": 0.01}]}} breathes gently. Keep motion calm, with no quick cuts.\n"
    "Check it with render_creative: time for one moment, filmstrip true for frames across the loop.";

}  // namespace

std::string CreativeDocs::description() {
  std::string text =
      "Create or replace a creative by id: App Store art beyond screenshots, shown on iOS 27 and iPadOS 27 and "
      "later.\nEach creative is drawn on one canvas:\n";
  for (const auto& canvas : StoreTarget::canvases()) text += canvasLine(canvas);
  text += kSafeAreaRules;
  text += kCreativeJSON;
  text += kStoreRules;
  text += kMotion;
  return text;
}

std::string CreativeDocs::canvases() {
  std::string text =
      "# Creative canvases (App Store, iOS 27)\n\nEach creative is drawn on one of these (creative_upsert):\n\n"
      "| canvas | size | safe area (px from top-left) | note |\n|---|---|---|---|\n";
  for (const auto& canvas : StoreTarget::canvases()) {
    std::string safe;
    if (canvas.safeArea) {
      const Rect& s = *canvas.safeArea;
      safe = px(s.width) + "×" + px(s.height) + " at " + px(s.x) + "," + px(s.y);
    }
    text += "| " + canvas.id + " | " + size(canvas) + " | " + safe + " | " + canvas.note + " |\n";
  }
  return text;
}

}  // namespace vorno
