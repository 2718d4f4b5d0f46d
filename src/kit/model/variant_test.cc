#include "kit/model/variant.h"

#include "kit/model/codings.h"

#include <gtest/gtest.h>

namespace vorno::variant_test {
namespace {

TEST(Variant, ReadsAndWritesIdNameAndPatch) {
  Json json = Json::parse(R"({"id": "bold", "name": "Bold look",
                               "patch": {"slides": {"week": {"inverted": true, "eyebrow": null}}}})");
  Variant variant = Reader(json).decode<Variant>();
  EXPECT_EQ(variant.id, "bold");
  EXPECT_EQ(variant.name, "Bold look");
  EXPECT_EQ(variant.patch.json()["slides"]["week"]["inverted"], true);
  EXPECT_EQ(Coding<Variant>::write(variant), json);
}

TEST(Variant, PatchIsRequiredAndAlwaysWritten) {
  Json missing = Json::parse(R"({"id": "bold"})");
  try {
    Reader(missing).decode<Variant>();
    ADD_FAILURE() << "no error";
  } catch (const DecodingError& error) {
    EXPECT_EQ(error.summary(), "missing patch");
  }
  Variant empty;
  empty.id = "calm";
  EXPECT_EQ(Coding<Variant>::write(empty), Json::parse(R"({"id": "calm", "patch": null})"));
  empty.patch = Json::object();
  EXPECT_EQ(Coding<Variant>::write(empty), Json::parse(R"({"id": "calm", "patch": {}})"));
}

TEST(Variant, EqualityIsDeep) {
  Variant a;
  a.id = "x";
  a.patch = Json::parse(R"({"theme": {"accent": "#FF0000"}, "n": 1})");
  Variant b = a;
  EXPECT_EQ(a, b);
  b.patch.json()["theme"]["accent"] = "#00FF00";
  EXPECT_NE(a, b);
  // Numbers compare by value, whatever their written form.
  Variant c = a;
  c.patch.json()["n"] = 1.0;
  EXPECT_EQ(a, c);
}

TEST(JSONValue, CopiesAreIndependentAndMovedFromReadsNull) {
  JSONValue a(Json::parse(R"([1, 2])"));
  JSONValue b = a;
  b.json().push_back(3);
  EXPECT_EQ(a.json().size(), 2u);
  JSONValue c = std::move(b);
  EXPECT_EQ(c.json().size(), 3u);
  EXPECT_TRUE(b.json().is_null());  // NOLINT: reading a moved-from value is defined here
  EXPECT_EQ(b, JSONValue());
}

}  // namespace
}  // namespace vorno::variant_test
