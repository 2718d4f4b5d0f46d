// FreeSpace: where an element that nobody placed can stand without covering the words or the
// elements placed before it. Defaults used to all go to the canvas centre, over the headline and
// over each other; now each takes the first free spot in a fixed order of preference:
//
//   1. just under the text block (the eyebrow, headline and subhead);
//   2. beside the device, left then right, from the top of its visible part down;
//   3. further under the text block, then anywhere else: rows from the top, centre, left, right.
//
// A spot is free when the element's frame stays inside the canvas margins and meets no text's
// ink and no other free element; lying over a device is allowed, since badges and cards often
// do. When nothing is free at full size, the element is tried at three quarters and at half; when
// nothing is free even then, it goes where it covers least.
#pragma once

#include "kit/layout/element_layout.h"
#include "kit/util/geometry.h"

#include <vector>

namespace vorno {

class FreeSpace {
 public:
  /// `canvas` is the slide, or a spread's whole board; `placed` the elements laid so far.
  FreeSpace(const Rect& canvas, const std::vector<ElementLayout>& placed);

  struct Spot {
    Point center;
    double scale = 1;  ///< what the element's width was multiplied by to fit
  };
  /// Where an element of `size` goes. Always an answer: the least covered spot when none is free.
  Spot find(Size size) const;
  /// Marks a frame as taken, so that the next element goes elsewhere.
  void occupy(const Rect& frame);

 private:
  std::vector<Point> candidates(Size size) const;
  double covered(const Rect& frame) const;

  Rect canvas_;
  Rect inner_;  ///< the canvas within its margins
  double pad_ = 0;
  Rect textBlock_;  ///< the slide's own words, empty without any
  std::vector<Rect> devices_;
  std::vector<Rect> taken_;  ///< texts' ink and other free elements, grown by the pad
};

}  // namespace vorno
