// FileName: the gate every user-given name passes before it becomes a path component.
#pragma once

#include <initializer_list>
#include <string_view>

namespace vorno {

struct FileName {
  /// True when `name` is not empty, has at most 128 bytes (of UTF-8: 32 emoji, 64 accented
  /// letters), does not begin
  /// with ".", and holds no "/", no NUL and no line break (U+000A to U+000D, U+0085, U+2028,
  /// U+2029). Blanks and non-ASCII letters pass.
  static bool isSafeComponent(std::string_view name);

  /// Throws VornoError::invalid `<what> "<name>" can't be used in a file name: ...` unless `name`
  /// is a safe component. `what` says what the name is ("Slide id").
  static void check(std::string_view name, std::string_view what);

  /// True when `name` is one or more ASCII letters, digits, "-" and "_": the alphabet of the ids
  /// that name export folders (variant ids). Says nothing of length; `check` does.
  static bool isPlainWord(std::string_view name);

  /// True when `name` is one or more ASCII letters, digits, ".", "-" and "_" followed by one of
  /// `extensions` (each with its dot, matched as written): a plain asset file name.
  static bool isPlainFileName(std::string_view name, std::initializer_list<std::string_view> extensions);
};

}  // namespace vorno
