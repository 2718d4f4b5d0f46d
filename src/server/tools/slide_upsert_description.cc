#include "server/tools/slide_upsert_description.h"

#include "kit/model/slide_element.h"

namespace vorno {

// One text, written for an agent that has never seen a slide: a sample of every field with a
// comment on what it does, section by section, then the two rules it trips over most and the way
// to place things by hand. The comments are for reading; the JSON sent must leave them out.
const std::string& slideUpsertDescription() {
  static const std::string text = R"TEXT(Create or replace a slide by id. Returns lint issues. Render it afterwards to check the result.

Slide (comments are explanations; send plain JSON):
{
  "id": "plan-day",                    // required; names files: letters, digits, - and _
  "archetype": "hero",                 // hero (text above the device) | device-top (device above the text) | text-only
  "eyebrow": "NEW",                    // optional small line above the headline
  "headline": "Plan **your** day",     // required; **word** = accent word; 5-7 words read best
  "subhead": "Every job, one list.",   // optional line below the headline
  "inverted": true,                    // optional: use the theme's invertedBackground and invertedForeground
  "background": "#FFE8D6",             // optional Fill, overrides the theme: "#RRGGBB" | {"linear": ["#FFD9C2", "#F2A07B"], "angle": 170}
                                       //   | {"radial": ["#FFE2C7", "#E4560F"], "center": [0.5, 0.25], "radius": 0.9}
                                       //   | {"image": "assets/bg.jpg", "fit": "cover|contain", "dim": 0.25, "blur": 0.4}
  "accent": "#C8216A",                 // optional: this slide's accent colour for **words**
  "emphasisStyle": "highlight",        // optional: color | highlight | marker | sticker, for this slide
  "textColors": {"headline": "#14171D", "eyebrow": "#C8216A", "subhead": "#4A515E"},  // optional, per text field
  "textStyles": {"headline": {...text style, below...}},                              // optional, per text field
  "device": {...device, below...},     // optional: the app's screen in a device frame
  "overrides": {...per target, below...},
  "elements": [...free elements, below...]
}

Device:
"device": {
  "screenshot": "captures/{locale}/home.png",  // required; {locale} is filled in per locale. Per store or size:
                                               //   {"ios": "captures/{locale}/home.png", "android": "captures/{locale}/home-android.png", "ios.ipad-13": "captures/{locale}/home-ipad.png"}
  "frame": "iphone-17-pro",            // optional frame id (devices_list names them); "none" = bare screen; "assets/frames/x.png" = your own frame; absent = picked from the capture
  "finish": "black",                   // optional colour of the frame, e.g. black, silver, natural
  "width": 0.8,                        // optional fraction of the canvas width
  "offsetY": 0.05,                     // optional shift down, fraction of the canvas height
  "rotation": -8,                      // optional degrees
  "crop": {"x": 0, "y": 0.1, "width": 1, "height": 0.4},  // optional: show only this region of the capture, as a rounded card
  "outline": "#FFFFFF",                // optional ring around a bare screen or crop card
  "platforms": {"android": {"frame": "pixel-11-pro", "finish": "obsidian", "crop": {"x": 0, "y": 0, "width": 1, "height": 0.5}}}  // optional per-store frame, finish, crop
}

Overrides (per target id; every field optional):
"overrides": {
  "ios.ipad-13": {
    "archetype": "device-top",
    "deviceWidth": 0.6,                // device width, fraction of the canvas width
    "deviceOffsetY": 0.04,             // device shift, fraction of the canvas height
    "headlineScale": 0.9,              // factor on the headline's size
    "placements": {...hand placement, at the end...}
  }
}

Free elements ("elements": [...]); id and kind are required, every other field is optional:
{"id": "tag", "kind": "text", "text": "Free trial", "role": "caption", "color": "#FFFFFF", "align": "center",
 "style": {...text style...}, "fill": "#C8216A", "decorative": true}
                                       // role: eyebrow | headline | subhead | caption; align: left | center | right;
                                       // fill on a text = a block behind it (a sticker); decorative skips the contrast, edge and seam checks
{"id": "logo", "kind": "image", "image": "assets/logo.png", "cornerRadius": 0.2, "mask": "circle",
 "crop": {"x": 0, "y": 0, "width": 1, "height": 0.5}, "blur": 0.05}
                                       // image: a path in the package (add files with asset_add); mask: a shape kind
{"id": "second-phone", "kind": "device", "device": {...device, as above...}}
{"id": "star", "kind": "symbol", "symbol": "star.fill", "color": "#FFC400"}
                                       // symbol: an SF Symbol name
{"id": "blob", "kind": "shape", "shape": "circle", ...shape fields, below...}
{"id": "stars", "kind": "component", "component": {...component, below...}}
Fields every kind takes:
 "opacity": 0.9,                       // 0...1
 "shadow": true,                       // a soft drop shadow
 "shadowStyle": {"color": "#000000", "opacity": 0.3, "blur": 0.04, "x": 0, "y": 0.02},  // blur, x, y: fractions of the element's width
 "z": 2,                               // stacking: device 0, texts 1, free elements 2
 "platforms": ["ios"],                 // show on these stores only: ios | android
 "targets": ["ios.ipad-13"],           // show on these target ids only
 "blend": "multiply"                   // normal | multiply | screen | overlay | darken | lighten | color-dodge | color-burn | soft-light | hard-light | difference | exclusion

Text style ("style" of a text element, "textStyles" of the slide or theme); every field optional, absent = inherit:
{"fontFamily": "Archivo Black", "weight": "heavy", "scale": 1.1, "tracking": -0.02, "lineHeight": 1.05,
 "uppercase": true, "italic": false, "color": "#14171D", "align": "left", "slant": 6,
 "emphasisStyle": "sticker",
 "mark": {"color": "#FFD60A", "textColor": "#14171D", "paper": "#FFFFFF", "padding": 0.1, "radius": 0.2, "tilt": -3,
          "height": 0.9, "offset": 0, "opacity": 1},      // the block behind **words**
 "effect": {"outline": "#14171D", "outlineWidth": 0.1, "shadow": "#14171D", "shadowX": 0.04, "shadowY": 0.04},  // outline and hard shadow
 "fill": {"linear": ["#FF5F6D", "#FFC371"], "angle": 90}}  // paints the letters (gradient letters, a photo)
                                       // weight: regular | medium | semibold | bold | heavy | black; tracking: fraction of the size; slant: degrees

Shapes:
{"id": "blob", "kind": "shape", "shape": "rounded-rectangle", "fill": "#FFD60A", "stroke": "#14171D",
 "strokeWidth": 0.01, "cornerRadius": 0.2, "aspect": 1.5, "blur": 0.1}
                                       // shape: rectangle | rounded-rectangle | capsule | circle | arrow | path; fill: any Fill;
                                       // cornerRadius: fraction of the width, up to 0.5; aspect: width over height; blur: fraction of the width, 0-0.2
{"id": "wave", "kind": "shape", "shape": "path", "path": "M0 0 L100 0 L50 80 Z", "fill": "#C8216A"}
                                       // path: SVG path data, stretched to fill the element's box

Components ("component" of a component element):
{"type": "rating", "style": "light", "title": "Loved by our users", "value": 4.9}
                                       // type: )TEXT" + ComponentSpec::kindNames(" | ") + R"TEXT(
                                       // style: light | dark | accent | clear
{"type": "review", "title": "Finally an app that keeps up with my day.", "subtitle": "Ana, a happy user", "value": 5}
{"type": "checklist", "items": ["Plan the day", "Send quotes", "Get paid sooner"]}
{"type": "notification", "title": "Job confirmed", "subtitle": "Sarah accepted your quote.", "symbol": "bell.fill", "image": "assets/icon.png"}
                                       // value: stars 0-5; symbol: an SF Symbol name; image: a notification's app icon

Fields Vorno doesn't know are ignored and reported as schema.unknown warnings with the likely intended field: fix those first.
Plain strings for text fields mean en-US. For more languages: "headline": {"en-US": "Plan **your** day", "de-DE": "Plane **deinen** Tag"}.

Hand placement (per target, so a phone layout never disturbs the tablet one):
"overrides": {
  "ios.iphone-6.9": {
    "placements": {
      "headline": {"x": 0.5, "y": 0.12, "width": 0.86, "fontScale": 0.9},  // x, y: the centre, fractions of the canvas
      "device": {"x": 0.5, "y": 0.66, "width": 0.78, "rotation": -4},      // width: fraction of the canvas width
      "tag": {"x": 0.8, "y": 0.4, "width": 0.3, "height": 0.06}            // ids: eyebrow, headline, subhead, device, or a free element's id
    }
  }
}
A placement on one phone carries over to the other phones; tablets and foldables share theirs.)TEXT";
  return text;
}

}  // namespace vorno
