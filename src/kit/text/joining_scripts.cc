#include "kit/text/joining_scripts.h"

#include "kit/util/utf8.h"

#include <glib.h>

namespace vorno::JoiningScripts {
namespace {

bool hasOwnScript(GUnicodeScript script) {
  return script != G_UNICODE_SCRIPT_COMMON && script != G_UNICODE_SCRIPT_INHERITED &&
         script != G_UNICODE_SCRIPT_UNKNOWN && script != G_UNICODE_SCRIPT_INVALID_CODE;
}

}  // namespace

bool joinsLetters(char32_t codePoint) {
  switch (g_unichar_get_script(static_cast<gunichar>(codePoint))) {
    // Cursive scripts: each letter takes a form that reaches to its neighbours.
    case G_UNICODE_SCRIPT_ARABIC:
    case G_UNICODE_SCRIPT_SYRIAC:
    case G_UNICODE_SCRIPT_NKO:
    case G_UNICODE_SCRIPT_MONGOLIAN:
    case G_UNICODE_SCRIPT_MANDAIC:
    case G_UNICODE_SCRIPT_MANICHAEAN:
    case G_UNICODE_SCRIPT_PSALTER_PAHLAVI:
    case G_UNICODE_SCRIPT_PHAGS_PA:
    case G_UNICODE_SCRIPT_ADLAM:
    case G_UNICODE_SCRIPT_HANIFI_ROHINGYA:
    case G_UNICODE_SCRIPT_SOGDIAN:
    // Indic scripts: conjuncts, headstrokes and vowel signs are drawn across letters.
    case G_UNICODE_SCRIPT_DEVANAGARI:
    case G_UNICODE_SCRIPT_BENGALI:
    case G_UNICODE_SCRIPT_GURMUKHI:
    case G_UNICODE_SCRIPT_GUJARATI:
    case G_UNICODE_SCRIPT_ORIYA:
    case G_UNICODE_SCRIPT_TAMIL:
    case G_UNICODE_SCRIPT_TELUGU:
    case G_UNICODE_SCRIPT_KANNADA:
    case G_UNICODE_SCRIPT_MALAYALAM:
    case G_UNICODE_SCRIPT_SINHALA:
      return true;
    default:
      return false;
  }
}

std::vector<std::pair<int, int>> spacedRanges(std::string_view text) {
  // One pass: each character is joining or not by its own script, or by the run it sits in
  // when it has none. Leading characters of no script take the first real script's side.
  const char* begin = text.data();
  const char* end = begin + text.size();
  bool joining = false;
  for (const char* p = begin; p < end; p = nextUTF8Character(p)) {
    gunichar c = g_utf8_get_char(p);
    if (hasOwnScript(g_unichar_get_script(c))) {
      joining = joinsLetters(c);
      break;
    }
  }
  std::vector<std::pair<int, int>> ranges;
  int spacedStart = joining ? -1 : 0;
  for (const char* p = begin; p < end; p = nextUTF8Character(p)) {
    gunichar c = g_utf8_get_char(p);
    if (hasOwnScript(g_unichar_get_script(c))) joining = joinsLetters(c);
    int at = static_cast<int>(p - begin);
    if (joining && spacedStart >= 0) {
      if (at > spacedStart) ranges.emplace_back(spacedStart, at);
      spacedStart = -1;
    } else if (!joining && spacedStart < 0) {
      spacedStart = at;
    }
  }
  if (spacedStart >= 0 && static_cast<int>(text.size()) > spacedStart) ranges.emplace_back(spacedStart, static_cast<int>(text.size()));
  return ranges;
}

}  // namespace vorno::JoiningScripts
