// Reads arbitrary copy as markup: line scales, the plain text, and the styled runs the text engine
// lays. Scales stay in their range, and every run handed to the text engine is valid UTF-8 without
// NULs, whatever bytes the copy held.
#include "fuzz/fuzz_support.h"
#include "kit/model/text_markup.h"
#include "kit/text/text_layout.h"

#include <glib.h>

#include <cmath>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzBytes bytes(data, size);
  TextLayout::Style style;
  style.size = bytes.between(1, 200);
  style.uppercase = bytes.byte() & 1;
  style.tracking = bytes.between(-0.2, 0.5);
  std::string_view copy = bytes.rest(4096);

  for (std::string_view line : TextMarkup::splitLines(copy)) {
    if (auto scaled = TextMarkup::lineScale(line)) {
      fuzzCheck(scaled->first >= 0.2 && scaled->first <= 3.0, "a line scale outside its range");
      fuzzCheck(scaled->second.size() < line.size(), "a scaled line kept its prefix");
    }
  }
  fuzzCheck(TextMarkup::plain(copy).size() <= copy.size(), "the plain text is longer than the copy");

  TextLayout::AttributedText text = TextLayout::attributed(copy, style);
  for (const TextLayout::TextRun& run : text.runs) {
    fuzzCheck(g_utf8_validate(run.text.data(), static_cast<gssize>(run.text.size()), nullptr),
              "a run of invalid UTF-8 reaches the text engine");
    fuzzCheck(run.text.find('\0') == std::string::npos, "a NUL reaches the text engine");
    fuzzCheck(std::isfinite(run.fontSize) && run.fontSize > 0, "a run without a font size");
  }
  return 0;
}
