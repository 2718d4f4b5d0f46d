// Random but valid projects from a seeded generator, for property tests and benchmarks.
//
// Every project it makes survives a round trip through its JSON form unchanged: colours are
// whole bytes, numbers stay within what the readers accept, ids are unique per list, and
// spreads already span adjacent slides in slide order. `randomEdit` makes a second look of a
// project the way people do: reworded texts, slides added, dropped and moved, elements changed.
//
//   std::mt19937 rng(42);
//   Project a = randomProject(rng);
//   Project b = randomEdit(a, rng);
#pragma once

#include "kit/model/project.h"

#include <nlohmann/json.hpp>

#include <random>

namespace vorno {

struct RandomProjectOptions {
  int maxSlides = 6;
  int maxElements = 4;  ///< per slide and spread
  int maxCreatives = 2;
  int maxVariants = 2;  ///< variants are made with `randomEdit` and `patchFrom`
};

/// A random valid project.
Project randomProject(std::mt19937& rng, const RandomProjectOptions& options = {});

/// Another valid look of `project`: a few random edits of its texts, slides, elements, spreads,
/// creatives and theme. Variants are left as they are.
Project randomEdit(const Project& project, std::mt19937& rng);

/// `patch` with one random change that a hand or a stale tool might make and that may or may not
/// still apply: a value of another kind, a removal, an empty list or record, a record without its
/// required keys, an id given to a second record. Used to test that what checks a look agrees
/// with what applies it, on failures as much as on successes.
nlohmann::json randomBreak(const nlohmann::json& patch, std::mt19937& rng);

}  // namespace vorno
