// VariantCheck: whether a look applies to its base, without building the look.
//
//   if (!VariantCheck::applies(project, variant))
//     project.applying(variant);  // throws the sentence that says what is wrong
//
// The lint applies every look on every call, and a look is usually a few changed fields over a
// large base. Building the look means writing the whole base as JSON, merging the patch, and
// reading every slide back, once per look; this check writes and reads back only what the
// patch touches, and answers the one question the lint asks first: does it apply at all.
#pragma once

namespace vorno {

struct Project;
struct Variant;

struct VariantCheck {
  /// True exactly when `base.applying(variant)` returns a project rather than throwing, for a base
  /// that was read from JSON (so that what the patch leaves alone reads back as it did). Never
  /// throws for a bad patch: that is a false.
  static bool applies(const Project& base, const Variant& variant);
};

}  // namespace vorno
