// JoiningScripts: where letter spacing may go. Scripts whose letters join one another (Arabic,
// Syriac, N'Ko, Mongolian and their kin) or build clusters across letters (the Indic scripts)
// come apart when space is put between their letters: the joins of Arabic break into gaps and
// the conjuncts of Devanagari lose their shape. Tracking is kept for the runs of every other
// script and left out inside runs of these.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

namespace vorno::JoiningScripts {

/// Whether `codePoint` belongs to a script whose letters must not be spaced apart.
bool joinsLetters(char32_t codePoint);

/// The byte ranges [start, end) of `text` that may take letter spacing: everything outside runs
/// of joining scripts. Characters of no script of their own (spaces, digits, punctuation,
/// combining marks) belong to the run before them, or to the one after them at the start.
std::vector<std::pair<int, int>> spacedRanges(std::string_view text);

}  // namespace vorno::JoiningScripts
