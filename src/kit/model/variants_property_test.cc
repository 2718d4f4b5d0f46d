// Properties of looks over thousands of random projects: a computed patch always gives the
// other look back, promoting and promoting back is the identity on every look, and the
// three-way merge takes the only side that changed.
#include "kit/model/json_value.h"
#include "kit/model/project_json.h"
#include "kit/model/variants.h"
#include "tests/random_project.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <random>

namespace vorno::variants_property_test {
namespace {

Project withoutVariants(Project p) {
  p.variants.clear();
  return p;
}

// Most pairs are a project and an edit of it, which exercises patches by id; every fifth is two
// unrelated projects, which exercises whole replacements.
Project partnerOf(const Project& a, int index, std::mt19937& rng) {
  return index % 5 == 4 ? randomProject(rng) : randomEdit(a, rng);
}

TEST(VariantsProperty, RandomProjectsRoundTripThroughJSON) {
  std::mt19937 rng(7);
  for (int i = 0; i < 300; ++i) {
    Project p = randomProject(rng);
    ASSERT_EQ(decodeProject(encodeProject(p)), p) << "project " << i << ": " << encodeProject(p).dump();
  }
}

TEST(VariantsProperty, ApplyingThePatchFromAnotherLookGivesThatLook) {
  std::mt19937 rng(20240611);
  int byID = 0;
  for (int i = 0; i < 3000; ++i) {
    Project a = randomProject(rng);
    Project b = partnerOf(a, i, rng);
    JSONValue patch = a.patchFrom(b);
    Project applied = a.applying(Variant{"look", std::nullopt, patch});
    ASSERT_EQ(applied, withoutVariants(b)) << "pair " << i << "\npatch: " << patch.json().dump()
                                           << "\nbase: " << lookJSON(a).dump() << "\nlook: " << lookJSON(b).dump();
    if (patch.json().contains("slides") && patch.json()["slides"].is_object()) ++byID;
  }
  // The pairs must exercise the keyed form, not only whole replacements.
  EXPECT_GT(byID, 1000);
}

TEST(VariantsProperty, PromotingAndPromotingBackKeepsTheBaseAndEveryLook) {
  std::mt19937 rng(99);
  int checked = 0;
  for (int i = 0; i < 600; ++i) {
    Project a = randomProject(rng);
    if (a.variants.empty()) continue;
    size_t place = std::uniform_int_distribution<size_t>(0, a.variants.size() - 1)(rng);
    const Variant& chosen = a.variants[place];

    Project promoted = a.promoting(chosen.id);
    ASSERT_EQ(withoutVariants(promoted), a.resolved(chosen.id)) << "project " << i;
    ASSERT_EQ(promoted.variants.size(), a.variants.size());
    const std::string previous = promoted.variants[place].id;
    EXPECT_EQ(promoted.resolved(previous), withoutVariants(a)) << "project " << i;

    Project back = promoted.promoting(previous);
    ASSERT_EQ(withoutVariants(back), withoutVariants(a)) << "project " << i;
    ASSERT_EQ(back.variants.size(), a.variants.size());
    for (size_t k = 0; k < a.variants.size(); ++k) {
      const Variant& before = a.variants[k];
      const Variant& after = back.variants[k];
      if (k == place) {
        // The promoted look came back as the previous base of the promoted one.
        EXPECT_EQ(after.id, "previous-base");
      } else {
        EXPECT_EQ(after.id, before.id);
        EXPECT_EQ(after.name, before.name);
        EXPECT_EQ(promoted.resolved(before.id), a.resolved(before.id)) << "project " << i << " look " << before.id;
      }
      ASSERT_EQ(back.resolved(after.id), a.resolved(before.id)) << "project " << i << " look " << before.id;
    }
    ++checked;
  }
  EXPECT_GT(checked, 200);
}

TEST(VariantsProperty, Merge3TakesTheOnlySideThatChanged) {
  std::mt19937 rng(4242);
  for (int i = 0; i < 2000; ++i) {
    Project a = randomProject(rng);
    Project b = partnerOf(a, i, rng);
    Json base = encodeProject(a), changed = encodeProject(b);
    ASSERT_EQ(merge3(base, base, changed), changed) << "pair " << i;
    ASSERT_EQ(merge3(base, changed, base), changed) << "pair " << i;
    // On whole projects too, with spreads repaired as every edit leaves them.
    if (i % 10 == 0) {
      ASSERT_EQ(Project::merge(a, a, b), b) << "pair " << i;
      ASSERT_EQ(Project::merge(a, b, a), b) << "pair " << i;
    }
  }
}

}  // namespace
}  // namespace vorno::variants_property_test
