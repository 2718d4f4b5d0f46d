// What rendering would report, without drawing: the layout of every slide on every target of
// the project and in every locale, and the issues it finds. Lint runs it beside the document's
// own rules, so that a clean lint means clean renders.
#pragma once

#include "kit/layout/slide_layout_engine.h"

#include <string>
#include <vector>

namespace vorno {

/// The issues of laying every slide on each of the project's known targets in each of its
/// locales ("en-US" when it lists none), in that order: slide, target, locale. An issue repeated
/// by the members of a spread is given once, and so is one that `alreadyFound` states for the
/// same slide and locale with the same code (lint's own missing translations).
std::vector<Issue> layoutFindings(const Project& project, const std::string& root,
                                  const std::vector<Issue>& alreadyFound = {},
                                  const SlideLayoutEngine& engine = SlideLayoutEngine());

}  // namespace vorno
