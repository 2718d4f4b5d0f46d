// Helpers shared by the text engine's files: safe UTF-8, upper-casing, splitting lines, and the
// single styled run of a piece of text at a line size.
#pragma once

#include "kit/text/text_layout.h"
#include "kit/text/text_length.h"

#include <string>
#include <string_view>
#include <vector>

namespace vorno::TextInternal {

/// Valid UTF-8 without NUL bytes: invalid bytes become U+FFFD, NULs are dropped.
std::string sanitized(std::string_view text);
/// The text cut after TextLayout::maxCharacters characters, with "…" where it was cut; a
/// shorter text as it is. Every layout starts from this, so no document makes one unbounded.
std::string bounded(std::string text);
/// Upper-cased by Unicode's locale-independent rules ("ß" becomes "SS").
std::string uppercased(std::string_view text);
/// Split on "\n", empty lines kept.
std::vector<std::string_view> splitLines(std::string_view text);
/// Every "**" removed.
std::string withoutEmphasisMarks(std::string_view text);
/// The language tag Pango and fontconfig pick faces by, from a locale ("ko-KR", "zh-Hant-HK"):
/// fontconfig's face choice for Han matches "ja" and "ko" only without a region, and Chinese
/// only as "zh-cn", "zh-tw" or "zh-hk", so those are rewritten; other tags pass in lower case.
std::string faceLanguage(std::string_view locale);
/// A run of `text` in the style's face at `lineSize`, with the style's tracking and the fixed
/// line height of the style at that size; colour and emphasis left for the caller.
TextLayout::TextRun run(std::string text, const TextLayout::Style& style, double lineSize);

}  // namespace vorno::TextInternal
