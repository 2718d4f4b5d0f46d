#include "kit/render/layer_file_name.h"

#include "kit/util/format.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace vorno {

std::string layerFileName(size_t index, const std::string& id) {
  // Letters and digits of any script are kept, as a person reads them ("Übersicht" stays).
  std::string name = formatted("%02d-", static_cast<int>(index));
  const auto* bytes = reinterpret_cast<const uint8_t*>(id.data());
  int32_t length = static_cast<int32_t>(id.size());
  for (int32_t i = 0; i < length;) {
    int32_t start = i;
    UChar32 c;
    U8_NEXT(bytes, i, length, c);
    bool kept = c >= 0 && (u_isalpha(c) || u_isdigit(c) || c == '-');
    name += kept ? id.substr(static_cast<size_t>(start), static_cast<size_t>(i - start)) : "_";
  }
  return name + ".png";
}

}  // namespace vorno
