#include "kit/model/accent.h"

#include <gtest/gtest.h>

namespace vorno::accent_test {
namespace {

// The byte range of the first occurrence of `part` in `text`.
TextRange rangeOf(std::string_view text, std::string_view part) {
  size_t location = text.find(part);
  EXPECT_NE(location, std::string_view::npos) << part;
  return {location, part.size()};
}

TEST(Accent, PlainSelectionIsWrapped) {
  std::string text = "Plan every trip";
  EXPECT_EQ(Accent::toggle(text, rangeOf(text, "every")), "Plan **every** trip");
}

TEST(Accent, SelectionThatIsItselfWrappedIsUnwrapped) {
  std::string text = "Plan **every** trip";
  EXPECT_EQ(Accent::toggle(text, rangeOf(text, "**every**")), "Plan every trip");
}

TEST(Accent, MarkersRightAroundTheSelectionAreRemoved) {
  std::string text = "Plan **every** trip";
  EXPECT_EQ(Accent::toggle(text, {7, 5}), "Plan every trip");
}

TEST(Accent, ToggleTwiceGivesTheTextBack) {
  std::string text = "Plan every trip";
  std::string wrapped = Accent::toggle(text, rangeOf(text, "trip"));
  EXPECT_EQ(wrapped, "Plan every **trip**");
  EXPECT_EQ(Accent::toggle(wrapped, {13, 4}), text);
}

TEST(Accent, FourStarsAreTheSmallestWrappedSelection) { EXPECT_EQ(Accent::toggle("a****b", {1, 4}), "ab"); }

TEST(Accent, ThreeStarsAreTooShortToUnwrapAndGetWrapped) { EXPECT_EQ(Accent::toggle("***", {0, 3}), "*******"); }

TEST(Accent, CharactersAreCountedAsUnicodeScalars) {
  // Six bytes, five scalars: unwrapped, leaving the accented letter whole.
  std::string text = "**\xC3\xA9**";
  EXPECT_EQ(Accent::toggle(text, {0, text.size()}), "\xC3\xA9");
}

TEST(Accent, EmptySelectionBetweenMarkersRemovesThem) {
  EXPECT_EQ(Accent::toggle("a****b", {3, 0}), "ab");
  EXPECT_EQ(Accent::toggle("ab", {1, 0}), "a****b");
}

TEST(Accent, MarkersOnOneSideOnlyAreNotRemoved) { EXPECT_EQ(Accent::toggle("**ab", {2, 2}), "****ab**"); }

TEST(Accent, RangeBeyondTheTextIsCutToTheText) {
  EXPECT_EQ(Accent::toggle("abc", {1, 100}), "a**bc**");
  EXPECT_EQ(Accent::toggle("abc", {50, 2}), "abc****");
}

}  // namespace
}  // namespace vorno::accent_test
