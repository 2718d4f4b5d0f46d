// How an automatic device meets the canvas edge on a tall canvas. The stack of words decides
// where the device starts, and its default width decides where it ends, so on some canvases it
// misses the edge by a hair: the bottom corners of a hero's phone clipped by a few dozen pixels,
// the island of a device-top phone sliced at the top, or most of a phone's screen gone on a
// short canvas. A device either shows whole or bleeds on purpose, so:
//
// - hero (the device below the words, bleeding off the bottom): a bleed of less than 12% of
//   the body's height is an accident, and the device shrinks to end above the bottom margin; a
//   bleed of more than a quarter shrinks until a fifth is cut, so most of the screen shows;
// - device-top (the device above the words): the top holds the status bar, the island and the
//   app's title, so any bleed there shrinks the device to start below the top margin.
//
// The device stays centred and keeps its aspect; its edge next to the words stays where it was.
// Only a device sized by the layout is touched: a placement, a width or an offset of the
// document's own is the design.
#pragma once

#include "kit/model/enums.h"
#include "kit/util/geometry.h"

namespace vorno {

/// The body of an automatic upright device on a W x H canvas, tidied as described above.
Rect keepDeviceInView(const Rect& body, Archetype archetype, double W, double H);

}  // namespace vorno
