// Fits arbitrary copy into an arbitrary box in Inter, the system font. The first bytes choose the
// box, the base size, the floor, the line limit and the case; the rest, at most 512 bytes so that
// one run stays quick, is the copy. Fitting always chooses a size between the floor and the base,
// reports the box it was given, and lays some line.
#include "fuzz/fuzz_support.h"
#include "kit/text/text_layout.h"

#include <cmath>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

// Lays a line in every script the fallback fonts cover once before fuzzing: the first use of a
// fallback face loads it, which on a busy machine can take longer than a run may.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  TextLayout::Style style;
  style.family = "Inter";
  style.size = 40;
  (void)TextLayout::fit("Plan 一週間の予定 주간 계획 خطة สัปดาห์ 🙂", style, {400, 200}, 0.5, std::nullopt);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzBytes bytes(data, size);
  TextLayout::Style style;
  style.family = "Inter";
  style.size = bytes.between(4, 240);
  style.weight = static_cast<FontWeight>(bytes.byte() % 6);
  style.alignment = static_cast<TextAlign>(bytes.byte() % 3);
  style.uppercase = bytes.byte() & 1;
  style.lineHeight = bytes.between(0.5, 2);
  const Size box{bytes.between(1, 1400), bytes.between(1, 900)};
  const double minScale = bytes.between(0.2, 1);
  const uint8_t lines = bytes.byte() % 6;
  const std::optional<int> maxLines = lines ? std::optional<int>(lines) : std::nullopt;
  std::string_view copy = bytes.rest(512);

  TextLayout::Fitted fitted = TextLayout::fit(copy, style, box, minScale, maxLines);
  fuzzCheck(std::isfinite(fitted.fontSize), "a fitted size that is not a number");
  fuzzCheck(fitted.fontSize <= style.size * 1.0001, "a fitted size above the base size");
  fuzzCheck(fitted.fontSize >= style.size * minScale * 0.9999, "a fitted size below the floor");
  fuzzCheck(fitted.size.width == box.width, "a fitted block of another width than its box");
  fuzzCheck(fitted.overflow || fitted.size.height <= std::ceil(box.height + 0.5), "a fitted block taller than its box");
  fuzzCheck(fitted.lineCount >= 0, "a negative line count");
  return 0;
}
