#include "kit/model/json_value.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace vorno::json_value_test {
namespace {

Json j(const char* text) { return Json::parse(text); }

// Merging.

TEST(JSONMerged, ObjectsMergeFieldByFieldAndNullRemoves) {
  Json base = j(R"({"theme": {"accent": "#000000", "muted": "#111111"}, "appName": "Crew", "old": 1})");
  Json result = merged(base, j(R"({"theme": {"accent": "#FFD23F"}, "old": null, "new": [1, 2]})"));
  EXPECT_EQ(result, j(R"({"theme": {"accent": "#FFD23F", "muted": "#111111"}, "appName": "Crew", "new": [1, 2]})"));
}

TEST(JSONMerged, NonObjectPatchReplacesTheWholeValue) {
  EXPECT_EQ(merged(j(R"({"a": 1})"), j("[1]")), j("[1]"));
  EXPECT_EQ(merged(j(R"({"a": 1})"), j("null")), j("null"));
  // An object patch over a plain value starts from an empty object.
  EXPECT_EQ(merged(j("5"), j(R"({"a": 1, "b": null})")), j(R"({"a": 1})"));
}

TEST(JSONMerged, KeyedArrayMergesByIDAndPlainArrayReplaces) {
  Json base = j(R"({"slides": [{"id": "a", "inverted": false}, {"id": "b"}], "locales": ["en-US"]})");
  EXPECT_EQ(merged(base, j(R"({"slides": {"a": {"inverted": true}, "b": null}})")),
            j(R"({"slides": [{"id": "a", "inverted": true}], "locales": ["en-US"]})"));
  EXPECT_EQ(merged(base, j(R"({"slides": [{"id": "z"}]})")), j(R"({"slides": [{"id": "z"}], "locales": ["en-US"]})"));
  // "locales" is not keyed: an object there merges into nothing like an array and replaces it.
  EXPECT_EQ(merged(base, j(R"({"locales": {"x": 1}})"))["locales"], j(R"({"x": 1})"));
}

TEST(JSONMerged, SpecExampleMergesNestedElementsByID) {
  Json base = j(R"({"theme": {"accent": "#000000"}, "slides": [{"id": "week", "elements": [
      {"id": "zoom", "kind": "image"}, {"id": "title", "kind": "text"}]}]})");
  Json patchValue = j(R"({"theme": {"accent": "#FFD23F"}, "slides": {"week": {"inverted": true,
      "elements": {"zoom": null, "glow": {"kind": "shape", "shape": "circle"}}}}})");
  EXPECT_EQ(merged(base, patchValue), j(R"({"theme": {"accent": "#FFD23F"}, "slides": [{"id": "week",
      "inverted": true, "elements": [{"id": "title", "kind": "text"},
      {"id": "glow", "kind": "shape", "shape": "circle"}]}]})"));
}

TEST(JSONMergeByID, KeepsOrderAppendsNewIDsSortedAndIgnoresStrayEntries) {
  Json array = j(R"([{"id": "c"}, "loose", {"id": "a", "n": 1}, {"noid": true}])");
  Json result = mergeByID(array, j(R"({"z": {"n": 3}, "a": {"n": 2}, "b": {}, "ghost": null, "bad": 7})"));
  EXPECT_EQ(result, j(R"([{"id": "c"}, "loose", {"id": "a", "n": 2}, {"noid": true}, {"id": "b"},
                          {"id": "z", "n": 3}])"));
}

TEST(JSONMergeByID, EntryIDIsTheKeyEvenWhenTheEntrySaysOtherwise) {
  EXPECT_EQ(mergeByID(j("[]"), j(R"({"new": {"id": "other", "x": 1}})")), j(R"([{"id": "new", "x": 1}])"));
}

// Computing patches.

TEST(JSONPatch, EqualValuesGiveNothing) {
  EXPECT_EQ(patch(j(R"({"a": [1, {"b": 2}]})"), j(R"({"a": [1, {"b": 2.0}]})")), std::nullopt);
}

TEST(JSONPatch, ObjectsGiveRemovalsAdditionsAndNestedChanges) {
  auto p = patch(j(R"({"gone": 1, "same": 2, "deep": {"x": 1, "y": 2}})"),
                 j(R"({"same": 2, "deep": {"x": 1, "y": 3}, "new": {"z": null}})"));
  ASSERT_TRUE(p);
  EXPECT_EQ(*p, j(R"({"gone": null, "deep": {"y": 3}, "new": {"z": null}})"));
  EXPECT_EQ(patch(j(R"({"a": 1})"), j("[1]")), j("[1]"));
}

TEST(JSONPatch, KeyedArraysArePatchedByID) {
  Json from = j(R"({"slides": [{"id": "a", "h": 1}, {"id": "b"}, {"id": "c"}]})");
  Json to = j(R"({"slides": [{"id": "a", "h": 2}, {"id": "c"}, {"id": "d", "h": 4}]})");
  auto p = patch(from, to);
  ASSERT_TRUE(p);
  EXPECT_EQ(*p, j(R"({"slides": {"a": {"h": 2}, "b": null, "d": {"id": "d", "h": 4}}})"));
  EXPECT_EQ(merged(from, *p), to);
}

TEST(JSONKeyedPatch, GivesUpOnWhatIDsCannotSay) {
  // Not arrays, records without string ids, repeated ids.
  EXPECT_EQ(keyedPatch(j("{}"), j("[]")), std::nullopt);
  EXPECT_EQ(keyedPatch(j(R"([{"id": 1}])"), j("[]")), std::nullopt);
  EXPECT_EQ(keyedPatch(j(R"([{"id": "a"}, {"id": "a"}])"), j(R"([{"id": "a"}])")), std::nullopt);
  EXPECT_EQ(keyedPatch(j(R"(["a"])"), j(R"([])")), std::nullopt);
  // Reordered survivors, and a new id before a survivor.
  EXPECT_EQ(keyedPatch(j(R"([{"id": "a"}, {"id": "b"}])"), j(R"([{"id": "b"}, {"id": "a"}])")), std::nullopt);
  EXPECT_EQ(keyedPatch(j(R"([{"id": "a"}])"), j(R"([{"id": "n"}, {"id": "a"}])")), std::nullopt);
}

TEST(JSONKeyedPatch, EmptyResultMeansNoChange) {
  auto p = keyedPatch(j(R"([{"id": "a", "x": 1}])"), j(R"([{"id": "a", "x": 1}])"));
  ASSERT_TRUE(p);
  EXPECT_EQ(*p, Json::object());
}

TEST(JSONPatch, ReorderedKeyedArrayIsReplacedWhole) {
  Json from = j(R"({"slides": [{"id": "a"}, {"id": "b"}]})");
  Json to = j(R"({"slides": [{"id": "b"}, {"id": "a"}]})");
  auto p = patch(from, to);
  ASSERT_TRUE(p);
  EXPECT_EQ(*p, to);
  EXPECT_EQ(merged(from, *p), to);
}

// Three-way merge.

TEST(Merge3, OneSideUnchangedTakesTheOther) {
  Json base = j(R"({"a": 1})"), changed = j(R"({"a": 2})");
  EXPECT_EQ(merge3(base, base, changed), changed);
  EXPECT_EQ(merge3(base, changed, base), changed);
  EXPECT_EQ(merge3(base, changed, changed), changed);
  // A removal on one side, the other untouched: removed.
  EXPECT_EQ(merge3(base, base, std::nullopt), std::nullopt);
  EXPECT_EQ(merge3(base, std::nullopt, base), std::nullopt);
}

TEST(Merge3, OursChangedTheirsRemovedGivesRemoved) {
  EXPECT_EQ(merge3(j("1"), j("2"), std::nullopt, "inverted"), std::nullopt);
}

TEST(Merge3, OursRemovedTheirsChangedGivesTheirs) { EXPECT_EQ(merge3(j("1"), std::nullopt, j("3"), "x"), j("3")); }

TEST(Merge3, BothChangedDifferentKindsOrPlainValuesTheirsWins) {
  EXPECT_EQ(merge3(j("1"), j("2"), j("3")), j("3"));
  EXPECT_EQ(merge3(j("1"), j(R"({"a": 1})"), j("\"s\"")), j("\"s\""));
  EXPECT_EQ(merge3(j("[1]"), j("[1, 2]"), j("[0, 1]"), "locales"), j("[0, 1]"));
}

TEST(Merge3, ObjectsMergeMemberByMember) {
  Json base = j(R"({"appName": "Crew", "theme": {"accent": "#000000", "muted": "#111111"}, "gone": 1})");
  Json ours = j(R"({"appName": "Crew Pro", "theme": {"accent": "#000000", "muted": "#222222"}, "gone": 1})");
  Json theirs = j(R"({"appName": "Crew", "theme": {"accent": "#FF0000", "muted": "#111111"}})");
  EXPECT_EQ(merge3(base, ours, theirs),
            j(R"({"appName": "Crew Pro", "theme": {"accent": "#FF0000", "muted": "#222222"}})"));
  // A base that is no object counts as empty: keys both sides added merge too.
  EXPECT_EQ(merge3(std::nullopt, j(R"({"a": 1, "b": 2})"), j(R"({"a": 1, "c": 3})")), j(R"({"a": 1, "b": 2, "c": 3})"));
}

TEST(Merge3, KeyedArraysMergeRecordByRecord) {
  Json base = j(R"([{"id": "a", "h": 1}, {"id": "b", "h": 1}, {"id": "c"}])");
  Json ours = j(R"([{"id": "a", "h": 2}, {"id": "b", "h": 1}, {"id": "c"}, {"id": "mine"}])");
  Json theirs = j(R"([{"id": "a", "h": 1}, {"id": "b", "h": 3}, {"id": "theirs"}])");
  EXPECT_EQ(merge3(base, ours, theirs, "slides"),
            j(R"([{"id": "a", "h": 2}, {"id": "b", "h": 3}, {"id": "theirs"}, {"id": "mine"}])"));
  // The same arrays under a key that isn't keyed: theirs whole.
  EXPECT_EQ(merge3(base, ours, theirs, "locales"), theirs);
}

TEST(MergeKeyed, OursGivesTheOrderOnlyWhenTheirsKeptTheBaseOrder) {
  Json base = j(R"([{"id": "a"}, {"id": "b"}, {"id": "c"}])");
  Json oursMoved = j(R"([{"id": "c"}, {"id": "a"}, {"id": "b"}])");
  Json theirsEdited = j(R"([{"id": "a"}, {"id": "t"}, {"id": "b", "x": 1}, {"id": "c"}])");
  EXPECT_EQ(mergeKeyed(base, oursMoved, theirsEdited),
            j(R"([{"id": "c"}, {"id": "t"}, {"id": "a"}, {"id": "b", "x": 1}])"));
  // Both moved: theirs decides.
  Json theirsMoved = j(R"([{"id": "b"}, {"id": "a"}, {"id": "c"}])");
  EXPECT_EQ(mergeKeyed(base, oursMoved, theirsMoved), theirsMoved);
}

TEST(MergeKeyed, OurNewRecordsFollowTheirPredecessor) {
  Json base = j(R"([{"id": "a"}, {"id": "b"}])");
  Json ours = j(R"([{"id": "first"}, {"id": "a"}, {"id": "n1"}, {"id": "n2"}, {"id": "b"}])");
  Json theirs = j(R"([{"id": "a"}, {"id": "b"}, {"id": "t"}])");
  EXPECT_EQ(mergeKeyed(base, ours, theirs),
            j(R"([{"id": "a"}, {"id": "n1"}, {"id": "n2"}, {"id": "b"}, {"id": "t"}, {"id": "first"}])"));
}

TEST(MergeKeyed, GivesUpOnArraysWithoutUniqueStringIDs) {
  EXPECT_EQ(mergeKeyed(j(R"([{"id": "a"}])"), j(R"([{"id": "a"}, {"id": "a"}])"), j(R"([])")), std::nullopt);
  EXPECT_EQ(mergeKeyed(std::nullopt, j(R"([1])"), j(R"([])")), std::nullopt);
  EXPECT_EQ(mergeKeyed(j("{}"), j(R"([])"), j(R"([])")), std::nullopt);
  // Then merge3 takes theirs.
  EXPECT_EQ(merge3(j(R"([{"id": "a"}])"), j(R"([{"id": "a"}, {"id": "a"}])"), j(R"([{"id": "b"}])"), "slides"),
            j(R"([{"id": "b"}])"));
}

// Paths.

TEST(JSONPath, SplitsAndJoins) {
  EXPECT_EQ(splitPath("slides/week/headline"), (JSONPath{"slides", "week", "headline"}));
  EXPECT_EQ(splitPath("/a//b/"), (JSONPath{"a", "b"}));
  EXPECT_EQ(joinPath({"creatives", "c", "eyebrow"}), "creatives/c/eyebrow");
}

TEST(JSONValueAt, WalksObjectsByKeyAndRecordArraysByID) {
  Json doc = j(R"({"slides": [{"id": "a", "elements": [{"id": "t", "text": {"en-US": "Hi"}}]}]})");
  const Json* found = valueAt(doc, splitPath("slides/a/elements/t/text/en-US"));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(*found, "Hi");
  EXPECT_EQ(valueAt(doc, splitPath("slides/zz/elements")), nullptr);
  EXPECT_EQ(valueAt(doc, splitPath("slides/a/elements/t/text/en-US/deeper")), nullptr);
  EXPECT_EQ(valueAt(doc, {}), &doc);
}

TEST(JSONSetting, WritesCreatesAndRemovesAlongAPath) {
  Json doc = j(R"({"slides": [{"id": "a", "headline": {"en-US": "Hi"}}]})");
  EXPECT_EQ(setting(doc, "Hallo", splitPath("slides/a/headline/de-DE")),
            j(R"({"slides": [{"id": "a", "headline": {"en-US": "Hi", "de-DE": "Hallo"}}]})"));
  EXPECT_EQ(setting(doc, j(R"({"en-US": "New"})"), splitPath("slides/b/eyebrow")),
            j(R"({"slides": [{"id": "a", "headline": {"en-US": "Hi"}}, {"id": "b", "eyebrow": {"en-US": "New"}}]})"));
  EXPECT_EQ(setting(doc, nullptr, splitPath("slides/a/headline")), j(R"({"slides": [{"id": "a"}]})"));
  EXPECT_EQ(setting(doc, nullptr, splitPath("slides/a")), j(R"({"slides": []})"));
  EXPECT_EQ(setting(doc, 1, splitPath("theme/accent")), j(R"({"slides": [{"id": "a", "headline": {"en-US": "Hi"}}],
                                                                "theme": {"accent": 1}})"));
}

TEST(JSONCovers, PathIsCoveredWhenTheWalkRunsOutOrMeetsAPlainValue) {
  Json p = j(R"({"slides": {"a": {"headline": {"de-DE": "Hallo"}, "eyebrow": null}, "b": null},
                 "spreads": [{"id": "s"}]})");
  EXPECT_TRUE(covers(p, splitPath("slides/a/headline")));
  EXPECT_TRUE(covers(p, splitPath("slides/a/eyebrow")));
  EXPECT_TRUE(covers(p, splitPath("slides/b/headline")));
  EXPECT_TRUE(covers(p, splitPath("spreads/s/elements/e/text")));
  EXPECT_FALSE(covers(p, splitPath("slides/a/subhead")));
  EXPECT_FALSE(covers(p, splitPath("slides/c/headline")));
  EXPECT_TRUE(covers(j("[]"), splitPath("slides/a/headline")));
}

TEST(JSONIsLocked, OnlyAnArrayBeforeThePathEndsLocks) {
  Json p = j(R"({"slides": [{"id": "a"}], "spreads": {"s": {"elements": {"e": null}}}, "theme": 1})");
  EXPECT_TRUE(isLocked(p, splitPath("slides/a/headline")));
  EXPECT_FALSE(isLocked(p, splitPath("slides")));
  EXPECT_FALSE(isLocked(p, splitPath("spreads/s/elements/e/text")));
  EXPECT_FALSE(isLocked(p, splitPath("theme/accent")));
  EXPECT_FALSE(isLocked(p, splitPath("creatives/c/headline")));
}

TEST(JSONTextFields, RecognisesEveryShapeOfTextField) {
  EXPECT_TRUE(isTextField(splitPath("slides/a/headline")));
  EXPECT_TRUE(isTextField(splitPath("creatives/c/eyebrow")));
  EXPECT_TRUE(isTextField(splitPath("spreads/s/elements/e/text")));
  EXPECT_TRUE(isTextField(splitPath("slides/a/elements/e/component/subtitle")));
  EXPECT_FALSE(isTextField(splitPath("slides/a/device")));
  EXPECT_FALSE(isTextField(splitPath("theme/a/headline")));
  EXPECT_FALSE(isTextField(splitPath("slides/a/elements/e/component/items")));
  EXPECT_FALSE(isTextField(splitPath("slides/a/elements/e/image")));
}

TEST(JSONTextFields, ListsTheTextsAPatchSets) {
  Json p = j(R"({"theme": {"accent": "#000000"},
                 "slides": {"a": {"headline": {"de-DE": "Hallo"}, "eyebrow": null, "inverted": true,
                                  "elements": {"t": {"text": {"en-US": "x"}},
                                               "n": {"kind": "component", "component": {"title": "T"}}}},
                            "b": null},
                 "spreads": [{"id": "s", "elements": [{"id": "e", "text": "locked"}]}]})");
  EXPECT_EQ(textFields(p), (std::vector<std::string>{"slides/a/elements/n/component/title",
                                                     "slides/a/elements/t/text", "slides/a/eyebrow",
                                                     "slides/a/headline"}));
  EXPECT_EQ(textFields(j(R"({"headline": 1})"), splitPath("creatives/c")),
            (std::vector<std::string>{"creatives/c/headline"}));
}

}  // namespace
}  // namespace vorno::json_value_test
