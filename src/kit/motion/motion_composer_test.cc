#include "kit/motion/motion_composer.h"

#include "kit/model/motion.h"
#include "kit/model/store_target.h"

#include <gtest/gtest.h>

namespace vorno::motion_composer_test {
namespace {

ElementLayout element(const std::string& id, Rect frame, double z = 2) {
  ElementLayout e;
  e.id = id;
  e.owner = ElementOwner::slide("art");
  e.kind = ElementLayout::Kind::shape;
  e.frame = frame;
  e.z = z;
  return e;
}

// A 1000 × 500 canvas holding the given elements.
ComposedSlide composedOf(std::vector<ElementLayout> elements) {
  ComposedSlide composed;
  composed.slideID = "art";
  composed.slideIDs = {"art"};
  composed.target = StoreTarget::appStoreHeader();
  composed.target.width = 1000;
  composed.target.height = 500;
  composed.elements = std::move(elements);
  return composed;
}

std::vector<std::string> order(const ComposedSlide& composed) {
  std::vector<std::string> ids;
  for (const auto& e : composed.elements) ids.push_back(e.id);
  return ids;
}

TEST(MotionComposer, APoseMovesScalesTurnsAndFadesTheElement) {
  MotionFrame frame;
  MotionPose pose;
  pose.x = 0.25;
  pose.dy = 0.1;
  pose.scale = 1.5;
  pose.dRotation = 5;
  pose.opacity = 0.5;
  frame.poses["card"] = pose;
  ComposedSlide composed = MotionComposer::apply(frame, composedOf({element("card", {400, 200, 200, 100})}));
  ASSERT_EQ(composed.elements.size(), 1u);
  const ElementLayout& e = composed.elements.front();
  // Centre x from the pose (0.25 × 1000), centre y its own (250) plus 0.1 × 500.
  EXPECT_EQ(e.frame, (Rect{150, 250, 200, 100}));
  EXPECT_DOUBLE_EQ(e.drawScale, 1.5);
  EXPECT_DOUBLE_EQ(e.rotation, 5);
  EXPECT_DOUBLE_EQ(e.fade, 0.5);
}

TEST(MotionComposer, TheCameraPushesInAboutItsAnchor) {
  MotionFrame frame;
  frame.camera.x = 0.3;
  frame.camera.y = 0.5;
  frame.camera.scale = 2;
  // One element on the anchor, one 100 px to its right.
  ComposedSlide composed = MotionComposer::apply(
      frame, composedOf({element("subject", {250, 200, 100, 100}), element("beside", {350, 200, 100, 100})}));
  ASSERT_EQ(composed.elements.size(), 2u);
  // The anchor goes to the canvas's centre; distances from it double; the frames keep their size.
  EXPECT_EQ(composed.elements[0].frame, (Rect{450, 200, 100, 100}));
  EXPECT_EQ(composed.elements[1].frame, (Rect{650, 200, 100, 100}));
  EXPECT_DOUBLE_EQ(composed.elements[0].drawScale, 2);
}

TEST(MotionComposer, ACameraAtRestMovesNothing) {
  ComposedSlide composed = MotionComposer::apply(MotionFrame{}, composedOf({element("card", {12.5, 7, 30, 40})}));
  EXPECT_EQ(composed.elements.front().frame, (Rect{12.5, 7, 30, 40}));
}

TEST(MotionComposer, AnElementFadedToTwoThousandthsIsNotDrawn) {
  MotionFrame frame;
  frame.poses["gone"].opacity = 0.002;
  frame.poses["faint"].opacity = 0.0021;
  ComposedSlide composed =
      MotionComposer::apply(frame, composedOf({element("gone", {0, 0, 10, 10}), element("faint", {0, 0, 10, 10})}));
  EXPECT_EQ(order(composed), (std::vector<std::string>{"faint"}));
}

TEST(MotionComposer, TwoElementsOfEqualZSwapPlacesOnlyWhileOneHasLift) {
  ComposedSlide composed = composedOf({element("old", {0, 0, 10, 10}), element("new", {0, 0, 10, 10})});
  // The element listed first is lifted during a crossfade: it goes above its equal...
  MotionFrame lifted;
  lifted.poses["old"].lift = true;
  EXPECT_EQ(order(MotionComposer::apply(lifted, composed)), (std::vector<std::string>{"new", "old"}));
  // ...and back to the list's order once the lift is over.
  MotionFrame landed;
  landed.poses["old"].lift = false;
  EXPECT_EQ(order(MotionComposer::apply(landed, composed)), (std::vector<std::string>{"old", "new"}));
  // The lift never reaches above an element that stands higher.
  composed.elements.push_back(element("top", {0, 0, 10, 10}, 2.001));
  EXPECT_EQ(order(MotionComposer::apply(lifted, composed)), (std::vector<std::string>{"new", "old", "top"}));
}

TEST(MotionComposer, ASpreadsElementIsMovedOnlyByTheCamera) {
  ElementLayout spreadOwned = element("card", {0, 0, 10, 10});
  spreadOwned.owner = ElementOwner::spread("wide");
  MotionFrame frame;
  frame.poses["card"].dx = 0.5;
  ComposedSlide composed = MotionComposer::apply(frame, composedOf({spreadOwned}));
  EXPECT_EQ(composed.elements.front().frame, (Rect{0, 0, 10, 10}));
}

}  // namespace
}  // namespace vorno::motion_composer_test
