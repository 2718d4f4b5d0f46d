#include "kit/layout/svg_path.h"

#include "kit/util/vorno_error.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace vorno::svg_path_test {
namespace {

using Verb = Path::Verb;

std::string errorOf(std::string_view data) {
  try {
    SVGPath::parse(data);
  } catch (const VornoError& e) {
    EXPECT_EQ(e.kind(), VornoError::Kind::invalid);
    return e.message();
  }
  return "(no error)";
}

std::vector<Verb> verbs(const Path& p) {
  std::vector<Verb> out;
  for (const auto& e : p.elements()) out.push_back(e.verb);
  return out;
}

Point cubicAt(Point p0, const Path::Element& e, double t) {
  double u = 1 - t;
  auto f = [&](double a, double b, double c, double d) {
    return u * u * u * a + 3 * u * u * t * b + 3 * u * t * t * c + t * t * t * d;
  };
  return {f(p0.x, e.points[0].x, e.points[1].x, e.points[2].x), f(p0.y, e.points[0].y, e.points[1].y, e.points[2].y)};
}

// Points along every curve of a path (with the start of each curve), for checking arcs.
std::vector<Point> samples(const Path& p) {
  std::vector<Point> out;
  Point last{};
  for (const auto& e : p.elements()) {
    if (e.verb == Verb::curve) {
      for (int i = 0; i <= 16; ++i) out.push_back(cubicAt(last, e, i / 16.0));
      last = e.points[2];
    } else if (e.verb != Verb::close) {
      last = e.points[0];
    }
  }
  return out;
}

void expectNear(Point a, Point b, double tolerance = 1e-9) {
  EXPECT_NEAR(a.x, b.x, tolerance);
  EXPECT_NEAR(a.y, b.y, tolerance);
}

TEST(SVGPath, SeparatorsOrNoneReadTheSame) {
  Path a = SVGPath::parse("M0 0L10 10");
  Path b = SVGPath::parse("M0,0 L10,10");
  EXPECT_EQ(a, b);
  ASSERT_EQ(verbs(a), (std::vector<Verb>{Verb::move, Verb::line}));
  expectNear(a.elements()[1].points[0], {10, 10});
  EXPECT_EQ(SVGPath::parse(" \n\tM 0 , 0 ,L 10\t10 "), a);
}

TEST(SVGPath, RepeatedMoveDrawsTwoLines) {
  Path p = SVGPath::parse("M0 0 10 10 20 0");
  ASSERT_EQ(verbs(p), (std::vector<Verb>{Verb::move, Verb::line, Verb::line}));
  expectNear(p.elements()[1].points[0], {10, 10});
  expectNear(p.elements()[2].points[0], {20, 0});
}

TEST(SVGPath, RelativeRepeatedMoveDrawsRelativeLines) {
  Path p = SVGPath::parse("m5 5 10 0 0 10");
  ASSERT_EQ(verbs(p), (std::vector<Verb>{Verb::move, Verb::line, Verb::line}));
  expectNear(p.elements()[0].points[0], {5, 5});
  expectNear(p.elements()[1].points[0], {15, 5});
  expectNear(p.elements()[2].points[0], {15, 15});
}

TEST(SVGPath, ExponentReadsAsPartOfNumber) {
  Path p = SVGPath::parse("M1e2 0");
  expectNear(p.elements()[0].points[0], {100, 0});
  expectNear(SVGPath::parse("M2.5E-1 -1e+1").elements()[0].points[0], {0.25, -10});
}

TEST(SVGPath, NumbersWithoutSeparatorsSplitAtSignsAndSecondPoints) {
  Path p = SVGPath::parse("M-1-2L.5.5");
  expectNear(p.elements()[0].points[0], {-1, -2});
  expectNear(p.elements()[1].points[0], {0.5, 0.5});
}

TEST(SVGPath, ArcFlagRunReadsBothFlagsWithoutSeparator) {
  Path run = SVGPath::parse("M0 0 a1 1 0 01 10 10");
  Path spaced = SVGPath::parse("M0 0 a1 1 0 0 1 10 10");
  EXPECT_EQ(run, spaced);
  EXPECT_EQ(run.elements().back().verb, Verb::curve);
  expectNear(run.currentPoint(), {10, 10});
  // Flags with no separators at all, and the end point glued on as well.
  EXPECT_EQ(SVGPath::parse("M0 0 a1 1 0 0110 10"), spaced);
}

TEST(SVGPath, ZAloneIsEmpty) { EXPECT_EQ(errorOf("Z"), "Path data is empty."); }

TEST(SVGPath, NothingAtAllIsEmpty) {
  EXPECT_EQ(errorOf(""), "Path data is empty.");
  EXPECT_EQ(errorOf(" , "), "Path data is empty.");
}

TEST(SVGPath, NumbersBeforeAnyCommandGiveTheCommandError) {
  EXPECT_EQ(errorOf("10 10"), "Path data needs a command (M, L, C, …) before its numbers.");
}

TEST(SVGPath, NumbersAfterZGiveTheCommandError) {
  EXPECT_EQ(errorOf("M0 0 L10 0 Z 5 5"), "Path data needs a command (M, L, C, …) before its numbers.");
}

TEST(SVGPath, UnknownLetterNamesItself) {
  EXPECT_EQ(errorOf("M0 0 X10 10"), "Unknown path command X. Use M L H V C S Q T A Z.");
  EXPECT_EQ(errorOf("M0 0 b1"), "Unknown path command b. Use M L H V C S Q T A Z.");
  EXPECT_EQ(errorOf("M0 0 é"), "Unknown path command é. Use M L H V C S Q T A Z.");
}

TEST(SVGPath, MissingNumberNamesItsCharacter) {
  EXPECT_EQ(errorOf("M0 0 L10"), "Path data expected a number at character 8");
  EXPECT_EQ(errorOf("M0 0 L10 #"), "Path data expected a number at character 9");
  // "e" belongs to numbers, so it is not a command: the line expects a number there.
  EXPECT_EQ(errorOf("M0 0 L1e"), "Path data expected a number at character 7");
  EXPECT_EQ(errorOf("M0 0 Lé"), "Path data expected a number at character 6");
  EXPECT_EQ(errorOf("M0 0 L1 · 2"), "Path data expected a number at character 8");
}

TEST(SVGPath, RelativeStepsSummingPastTheLargestNumberAreRefused) {
  EXPECT_EQ(errorOf("m1e308 0 m1e308 0 l1 1"), "Path data reaches coordinates too large to draw. Use smaller numbers.");
  EXPECT_EQ(errorOf("M0 -1.7e308 C0 0 0 0 0 1.7e308 s1 1 2 2"),
            "Path data reaches coordinates too large to draw. Use smaller numbers.");
}

TEST(SVGPath, ArcWhoseRadiusSquaresToInfinityIsRefused) {
  EXPECT_EQ(errorOf("M0 0 A1e308 1 0 0 1 10 10"), "Path data reaches coordinates too large to draw. Use smaller numbers.");
}

TEST(SVGPath, PointsSpanningMoreThanTheLargestNumberAreRefused) {
  EXPECT_EQ(errorOf("M0 -1.7e308 C0 0 0 0 0 1.7e307 s1 1 2 2"),
            "Path data reaches coordinates too large to draw. Use smaller numbers.");
}

TEST(SVGPath, BadArcFlag) {
  EXPECT_EQ(errorOf("M0 0 A1 1 0 2 0 10 10"), "An arc needs 0 or 1 flags.");
  EXPECT_EQ(errorOf("M0 0 A1 1 0 0"), "An arc needs 0 or 1 flags.");
}

TEST(SVGPath, HorizontalAndVerticalLines) {
  Path p = SVGPath::parse("M1 2 H11 V12 h-5 v-3");
  ASSERT_EQ(p.elements().size(), 5u);
  expectNear(p.elements()[1].points[0], {11, 2});
  expectNear(p.elements()[2].points[0], {11, 12});
  expectNear(p.elements()[3].points[0], {6, 12});
  expectNear(p.elements()[4].points[0], {6, 9});
}

TEST(SVGPath, CloseReturnsToSubpathStart) {
  Path p = SVGPath::parse("M10 10 l10 0 l0 10 z l5 5");
  expectNear(p.currentPoint(), {15, 15});
  EXPECT_EQ(p.elements()[3].verb, Verb::close);
  expectNear(p.elements()[4].points[0], {15, 15});
}

TEST(SVGPath, SmoothCubicReflectsOnlyAfterCubic) {
  Path after = SVGPath::parse("M0 0 C0 10 10 10 10 0 S20 -10 20 0");
  expectNear(after.elements()[2].points[0], {10, -10});  // (10,10) reflected about (10,0)
  Path alone = SVGPath::parse("M0 0 L10 0 S20 -10 20 0");
  expectNear(alone.elements()[2].points[0], {10, 0});  // the current point
  Path afterQuad = SVGPath::parse("M0 0 Q5 10 10 0 S20 -10 20 0");
  expectNear(afterQuad.elements()[2].points[0], {10, 0});
  // An implicit repetition of s reflects the s before it.
  Path repeated = SVGPath::parse("M0 0 s10 10 10 0 10 -10 10 0");
  expectNear(repeated.elements()[1].points[0], {0, 0});
  expectNear(repeated.elements()[2].points[0], {10, -10});
}

TEST(SVGPath, SmoothQuadraticReflectsOnlyAfterQuadratic) {
  // Q with control (5,10) to (10,0), then T to (20,0): the implicit control is (15,-10), and the
  // cubic's first handle lies 2/3 of the way from (10,0) toward it.
  Path after = SVGPath::parse("M0 0 Q5 10 10 0 T20 0");
  expectNear(after.elements()[2].points[0], {10 + 2.0 / 3 * 5, -2.0 / 3 * 10});
  Path alone = SVGPath::parse("M0 0 C0 10 10 10 10 0 T20 0");
  // Control is the current point: the curve is a straight segment.
  expectNear(alone.elements()[2].points[0], {10, 0});
  expectNear(alone.elements()[2].points[1], {40.0 / 3, 0});
}

TEST(SVGPath, RelativeCurvesUseTheStartOfTheCommand) {
  Path p = SVGPath::parse("M10 10 c0 10 10 10 10 0");
  expectNear(p.elements()[1].points[0], {10, 20});
  expectNear(p.elements()[1].points[1], {20, 20});
  expectNear(p.elements()[1].points[2], {20, 10});
}

TEST(SVGPath, HalfCircleArcPassesThroughKnownPoints) {
  // Sweep 1 turns the positive way in y-down space: from (0,0) over the top to (20,0).
  Path up = SVGPath::parse("M0 0 A10 10 0 0 1 20 0");
  ASSERT_EQ(verbs(up), (std::vector<Verb>{Verb::move, Verb::curve, Verb::curve}));
  expectNear(up.elements()[1].points[2], {10, -10});
  expectNear(up.elements()[2].points[2], {20, 0});
  for (Point s : samples(up)) EXPECT_NEAR(std::hypot(s.x - 10, s.y), 10, 0.003);
  Rect b = up.bounds();
  EXPECT_NEAR(b.minY(), -10, 1e-3);
  EXPECT_NEAR(b.maxY(), 0, 1e-9);

  Path down = SVGPath::parse("M0 0 A10 10 0 0 0 20 0");
  expectNear(down.elements()[1].points[2], {10, 10});
}

TEST(SVGPath, ArcRadiiTooSmallAreScaledUp) {
  Path small = SVGPath::parse("M0 0 A1 1 0 0 1 20 0");
  Path exact = SVGPath::parse("M0 0 A10 10 0 0 1 20 0");
  ASSERT_EQ(small.elements().size(), exact.elements().size());
  for (size_t i = 0; i < small.elements().size(); ++i)
    for (int k = 0; k < 3; ++k) expectNear(small.elements()[i].points[k], exact.elements()[i].points[k], 1e-9);
}

TEST(SVGPath, LargeArcFlagPicksTheLongWayRound) {
  // From (0,0) to (10,10) with radius 10 the centres are (10,0) and (0,10). Sweep 0 turns the
  // negative way: the short arc goes round (10,0), the long one round (0,10).
  Path shortArc = SVGPath::parse("M0 0 A10 10 0 0 0 10 10");
  ASSERT_EQ(shortArc.elements().size(), 2u);  // a quarter turn, one piece
  for (Point s : samples(shortArc)) EXPECT_NEAR(std::hypot(s.x - 10, s.y), 10, 0.003);

  Path longArc = SVGPath::parse("M0 0 A10 10 0 1 0 10 10");
  ASSERT_EQ(longArc.elements().size(), 4u);  // three quarters, three pieces
  for (Point s : samples(longArc)) EXPECT_NEAR(std::hypot(s.x, s.y - 10), 10, 0.003);
  expectNear(longArc.elements()[1].points[2], {-10, 10}, 1e-9);
  expectNear(longArc.elements()[2].points[2], {0, 20}, 1e-9);
  expectNear(longArc.elements()[3].points[2], {10, 10});
}

TEST(SVGPath, RotatedEllipticalArc) {
  // rx 20 turned by 90 degrees lies along y: half an ellipse from (0,0) to (0,40), 10 wide.
  Path p = SVGPath::parse("M0 0 A20 10 90 0 1 0 40");
  for (Point s : samples(p)) {
    double u = s.x / 10, v = (s.y - 20) / 20;
    EXPECT_NEAR(u * u + v * v, 1, 0.002);
  }
  Rect b = p.bounds();
  EXPECT_NEAR(b.width, 10, 0.02);
  EXPECT_NEAR(b.height, 40, 1e-6);
  EXPECT_GT(b.maxX(), 9.9);  // sweep 1 turns clockwise on screen: down the right-hand side
}

TEST(SVGPath, ArcHandleLengthIsFourThirdsTanOfQuarterPiece) {
  Path p = SVGPath::parse("M10 0 A10 10 0 0 1 0 10");  // a quarter circle about the origin
  ASSERT_EQ(p.elements().size(), 2u);
  double k = 4.0 / 3.0 * std::tan(M_PI / 8) * 10;
  expectNear(p.elements()[1].points[0], {10, k});
  expectNear(p.elements()[1].points[1], {k, 10});
}

TEST(SVGPath, ArcToItsOwnStartDrawsNothingAndZeroRadiusIsALine) {
  Path same = SVGPath::parse("M5 5 A10 10 0 0 1 5 5");
  EXPECT_EQ(verbs(same), (std::vector<Verb>{Verb::move}));
  Path flat = SVGPath::parse("M0 0 A0 10 0 0 1 20 0");
  ASSERT_EQ(verbs(flat), (std::vector<Verb>{Verb::move, Verb::line}));
  expectNear(flat.elements()[1].points[0], {20, 0});
}

TEST(SVGPath, DataWithoutMoveStartsAtOrigin) {
  Path p = SVGPath::parse("L10 10");
  ASSERT_EQ(verbs(p), (std::vector<Verb>{Verb::move, Verb::line}));
  expectNear(p.elements()[0].points[0], {0, 0});
}

TEST(SVGPath, HugeExponentIsNotANumber) {
  EXPECT_EQ(errorOf("M1e999 0"), "Path data expected a number at character 1");
}

TEST(SVGPath, AnyInputParsesOrGivesOneSentence) {
  // Odd input must end in a path or a VornoError, never anything worse.
  const char* inputs[] = {"M", "M0", "M0 0 A", "M0 0 A1e308 1e308 1e308 1 1 1e308 -1e308", "M0 0 c", "M0 0 zzzz",
                          "M0 0 Q1 1", "M0 0 T1 1 t1 1", "M0 0 S1 1 2 2 s", "m.1.2.3.4", "M-.e1", "M++1 2",
                          "M0 0 A1 1 0 1 1 0 0", "\xff\xfe", "M0 0 L1 1,,", "M0 0 H", "M 0 0 V-", "Mé"};
  for (const char* input : inputs) {
    try {
      Path p = SVGPath::parse(input);
      EXPECT_FALSE(p.isEmpty()) << input;
    } catch (const VornoError& e) {
      EXPECT_FALSE(e.message().empty()) << input;
    }
  }
}

}  // namespace
}  // namespace vorno::svg_path_test
