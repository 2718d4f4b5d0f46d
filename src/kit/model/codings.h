// The JSON forms of the document's records: tolerant readers and sparse writers, plugged into the
// coding framework. Each record's reader and writer live in that record's .cc file.
//
//   Slide slide = Reader(json, ".slides[0]").decode<Slide>();
//   Json written = Coding<Slide>::write(slide);
#pragma once

#include "kit/model/coding.h"
#include "kit/model/paint_coding.h"

namespace vorno {

struct LocalizedText;
struct MarkStyle;
struct ShadowStyle;
struct TextEffect;
struct TextStyle;
struct Theme;
struct CropRect;
struct ScreenshotRef;
struct DeviceLook;
struct DeviceSlot;
struct ComponentSpec;
struct SlideElement;
struct Placement;
struct SlideOverride;
struct Slide;
struct Spread;
struct MotionScene;
struct MotionTransition;
struct Keyframe;
struct Wave;
struct Motion;
struct Creative;
class JSONValue;
struct Variant;
struct Project;

#define VORNO_DECLARE_CODING(T)       \
  template <>                         \
  struct Coding<T> {                  \
    static T read(const Reader& r);   \
    static Json write(const T& value); \
  };

VORNO_DECLARE_CODING(LocalizedText)
VORNO_DECLARE_CODING(MarkStyle)
VORNO_DECLARE_CODING(ShadowStyle)
VORNO_DECLARE_CODING(TextEffect)
VORNO_DECLARE_CODING(TextStyle)
VORNO_DECLARE_CODING(Theme)
VORNO_DECLARE_CODING(CropRect)
VORNO_DECLARE_CODING(ScreenshotRef)
VORNO_DECLARE_CODING(DeviceLook)
VORNO_DECLARE_CODING(DeviceSlot)
VORNO_DECLARE_CODING(ComponentSpec)
VORNO_DECLARE_CODING(SlideElement)
VORNO_DECLARE_CODING(Placement)
VORNO_DECLARE_CODING(SlideOverride)
VORNO_DECLARE_CODING(Slide)  // a slide on its own: the headline is required
VORNO_DECLARE_CODING(Spread)
VORNO_DECLARE_CODING(MotionScene)
VORNO_DECLARE_CODING(MotionTransition)
VORNO_DECLARE_CODING(Keyframe)
VORNO_DECLARE_CODING(Wave)
VORNO_DECLARE_CODING(Motion)
VORNO_DECLARE_CODING(Creative)
VORNO_DECLARE_CODING(JSONValue)
VORNO_DECLARE_CODING(Variant)
VORNO_DECLARE_CODING(Project)

#undef VORNO_DECLARE_CODING

/// A slide's keys read from `r`; a creative passes `headlineRequired` false, since its slide may
/// have no words at all.
Slide readSlide(const Reader& r, bool headlineRequired);
/// A slide's keys; with `headlineRequired` false an empty headline is left out.
Json writeSlide(const Slide& slide, bool headlineRequired);

}  // namespace vorno
