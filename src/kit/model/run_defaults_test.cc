#include "kit/model/run_defaults.h"

#include "kit/model/project.h"
#include "kit/model/store_target.h"

#include <gtest/gtest.h>

namespace vorno::run_defaults_test {
namespace {

Project withTargets(std::vector<std::string> targets, std::vector<std::string> locales = {"en-US"}) {
  Project project;
  project.targets = std::move(targets);
  project.locales = std::move(locales);
  return project;
}

TEST(DefaultTarget, ARequestedTargetWinsOverTheProjects) {
  TargetChoice choice = defaultTarget(withTargets({"ios.iphone-6.9"}), std::string("play.phone"));
  ASSERT_NE(choice.target, nullptr);
  EXPECT_EQ(choice.target->id, "play.phone");
  EXPECT_FALSE(choice.unknownID);
}

TEST(DefaultTarget, WithoutARequestTheProjectsFirstTarget) {
  TargetChoice choice = defaultTarget(withTargets({"ios.ipad-13", "ios.iphone-6.9"}), std::nullopt);
  ASSERT_NE(choice.target, nullptr);
  EXPECT_EQ(choice.target->id, "ios.ipad-13");
}

TEST(DefaultTarget, AnUnknownFirstTargetIsPassedOverForTheNextKnownOne) {
  TargetChoice choice = defaultTarget(withTargets({"ios.watch", "ios.header", "play.tablet-7"}), std::nullopt);
  ASSERT_NE(choice.target, nullptr);
  EXPECT_EQ(choice.target->id, "play.tablet-7");
  EXPECT_FALSE(choice.unknownID);
}

TEST(DefaultTarget, NoKnownTargetInTheProjectMeansTheBigIPhone) {
  EXPECT_EQ(defaultTarget(withTargets({}), std::nullopt).target, &StoreTarget::iphone69());
  EXPECT_EQ(defaultTarget(withTargets({"ios.watch"}), std::nullopt).target, &StoreTarget::iphone69());
}

TEST(DefaultTarget, AnUnknownRequestIsRefusedWithTheKnownSlots) {
  TargetChoice choice = defaultTarget(withTargets({"ios.iphone-6.9"}), std::string("ios.header"));
  EXPECT_EQ(choice.target, nullptr);
  EXPECT_EQ(choice.unknownID, "ios.header");
  EXPECT_EQ(choice.refusal(),
            "Unknown target ios.header. Known: ios.iphone-6.9, ios.iphone-6.5, ios.iphone-duo, ios.ipad-13, "
            "play.phone, play.tablet-7, play.tablet-10");
}

TEST(RunLocale, RequestedElseTheProjectsFirstElseEnglish) {
  EXPECT_EQ(runLocale(withTargets({}, {"de-DE", "fr-FR"}), std::string("ja-JP")), "ja-JP");
  EXPECT_EQ(runLocale(withTargets({}, {"de-DE", "fr-FR"}), std::nullopt), "de-DE");
  EXPECT_EQ(runLocale(withTargets({}, {}), std::nullopt), "en-US");
}

}  // namespace
}  // namespace vorno::run_defaults_test
