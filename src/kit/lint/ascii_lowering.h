// Lower-casing without ICU for the texts that need none. The store rules read lower-cased text,
// and most texts of a set are plain ASCII, for which ICU's root-locale lower-casing is exactly
// A–Z to a–z. Going through ICU's UTF-16 strings for them cost more than the rules' matching.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorno {

/// `text` lower-cased as ICU's root locale does it, when every byte is ASCII; nothing otherwise,
/// and the caller asks ICU.
std::optional<std::string> asciiLowered(std::string_view text);

}  // namespace vorno
