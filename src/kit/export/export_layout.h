// ExportLayout: the two folder layouts an export can be written in. `vorno` sorts files by
// platform, target and locale; `fastlane` puts them where that release tool's uploader looks.
#pragma once

#include "kit/model/enum_names.h"

#include <array>
#include <string_view>

namespace vorno {

enum class ExportLayout { vorno, fastlane };

template <>
struct EnumNames<ExportLayout> {
  static constexpr std::string_view typeName = "ExportLayout";
  static constexpr std::array<std::string_view, 2> names{"vorno", "fastlane"};
};

}  // namespace vorno
