#include "kit/layout/layout_findings.h"

#include "kit/layout/layout_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vorno::layout_findings_test {
namespace {

using testing::TestPackage;
using testing::heroSlide;
using testing::projectWith;
using testing::text;

// A stat placed by hand across the headline on the iPhone only; the other phone borrows it.
Project collidingProject() {
  Slide slide = heroSlide("clash", "The whole week\non one screen");
  SlideElement days;
  days.id = "days";
  days.kind = SlideElement::Kind::component;
  days.component = ComponentSpec{};
  days.component->type = ComponentSpec::Kind::stat;
  days.component->title = text("21 days");
  slide.elements = {days};
  slide.overrides["ios.iphone-6.9"].placements =
      std::map<std::string, Placement>{{"days", {0.5, 0.12, 0.7, std::nullopt, std::nullopt, std::nullopt}}};
  Project project = projectWith({slide, heroSlide("calm", "Nothing here")});
  project.targets = {"ios.iphone-6.9", "play.phone"};
  project.locales = {"en-US", "de-DE"};
  return project;
}

TEST(LayoutFindings, OverlapIsFoundOnEveryTargetAndLocaleTheRenderWouldShowIt) {
  TestPackage package;
  std::vector<Issue> found = layoutFindings(collidingProject(), package.root());
  std::vector<std::string> where;
  for (const Issue& issue : found)
    if (issue.code == "layout.overlap") {
      EXPECT_EQ(issue.slide, "clash");
      EXPECT_EQ(issue.element, "slide:clash/days");
      where.push_back(*issue.target + " " + *issue.locale);
    }
  EXPECT_EQ(where, (std::vector<std::string>{"ios.iphone-6.9 en-US", "ios.iphone-6.9 de-DE", "play.phone en-US",
                                             "play.phone de-DE"}));
}

TEST(LayoutFindings, WhatLintAlreadySaysForTheSlideAndLocaleIsNotRepeated) {
  TestPackage package;
  Issue missing(Issue::Severity::warning, "text.missing-locale", "Headline has no de-DE text.");
  missing.slide = "clash";
  missing.locale = "de-DE";
  std::vector<Issue> found = layoutFindings(collidingProject(), package.root(), {missing});
  for (const Issue& issue : found)
    EXPECT_FALSE(issue.code == "text.missing-locale" && issue.slide == "clash" && issue.locale == "de-DE")
        << issue.description();
  EXPECT_TRUE(std::any_of(found.begin(), found.end(), [](const Issue& i) {
    return i.code == "text.missing-locale" && i.slide == "calm";
  }));
}

}  // namespace
}  // namespace vorno::layout_findings_test
