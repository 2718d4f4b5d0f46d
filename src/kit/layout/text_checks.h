// The checks that run over a slide's laid texts: texts cut short for length, highlight marks
// that cover a neighbouring line, and contrast against the background behind each text.
#pragma once

#include "kit/layout/element_layout.h"
#include "kit/layout/issue_sink.h"
#include "kit/layout/slide_layout_engine.h"
#include "kit/layout/style_context.h"

#include <optional>
#include <vector>

namespace vorno {

/// "text.cut" for every text (a component's too) longer than the text engine lays out;
/// "text.marks" and "text.contrast" for every text that isn't decorative. With a board (a member
/// of a spread with its own fill) the background is sampled across the whole board.
void textChecks(const std::vector<ElementLayout>& elements, const StyleContext& context, const Fill& background,
                const std::optional<SlideLayoutEngine::Board>& board, double W, double H, IssueSink& sink);

}  // namespace vorno
