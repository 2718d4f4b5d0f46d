// Raw values of the document's enumerations: one table per enumeration, in declaration order.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace vorno {

/// Raw values of an enumeration, in declaration order; specialise with
/// `static constexpr std::string_view typeName` and `static constexpr std::array names`.
template <class E>
struct EnumNames;

template <class E>
concept NamedEnum = requires { EnumNames<E>::names; };

/// The raw value of an enumeration case.
template <NamedEnum E>
std::string_view rawValue(E value) {
  return EnumNames<E>::names[static_cast<size_t>(value)];
}

/// The case of a raw value, or nothing.
template <NamedEnum E>
std::optional<E> enumCase(std::string_view raw) {
  const auto& names = EnumNames<E>::names;
  for (size_t i = 0; i < names.size(); ++i)
    if (names[i] == raw) return static_cast<E>(i);
  return std::nullopt;
}

}  // namespace vorno
