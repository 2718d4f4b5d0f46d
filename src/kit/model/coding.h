// Reading and writing records as JSON: the tolerant reader with its coding path, and the
// sparse writer.
//
// A `Reader` is a view of one JSON value with the path that leads to it (".slides[2].headline").
// Every failure is a `DecodingError` that carries that path, so the store can turn it into one
// sentence ("missing headline at .slides[2]"). Records plug in by specialising `Coding<T>` with a
// static `read(const Reader&)` and `write(const T&)`; containers, optionals and enumerations
// compose from those.
#pragma once

#include "kit/model/enum_names.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

using Json = nlohmann::json;

class DecodingError : public std::exception {
 public:
  enum class Kind { typeMismatch, keyNotFound, valueNotFound, dataCorrupted };

  /// `detail` is the expected type's name for a type mismatch, the key for a missing key, and
  /// the error's own description otherwise.
  DecodingError(Kind kind, std::string path, std::string detail);

  Kind kind() const { return kind_; }
  const std::string& path() const { return path_; }
  const std::string& detail() const { return detail_; }

  /// "expected String at .appName", "missing headline at .slides[2]",
  /// "A linear fill needs at least 2 colors. at .theme.background.linear".
  const std::string& summary() const { return summary_; }
  const char* what() const noexcept override { return summary_.c_str(); }

 private:
  Kind kind_;
  std::string path_;
  std::string detail_;
  std::string summary_;
};

/// Parses JSON text; a syntax error is a data-corrupted `DecodingError` at the empty path.
Json parseJSON(std::string_view text);

/// Plugs a type into the reader and writer. Specialise with
/// `static T read(const Reader&)` and `static Json write(const T&)`.
template <class T>
struct Coding;

class Reader {
 public:
  explicit Reader(const Json& value, std::string path = "") : value_(&value), path_(std::move(path)) {}

  const Json& json() const { return *value_; }
  const std::string& path() const { return path_; }

  bool isNull() const { return value_->is_null(); }
  bool isString() const { return value_->is_string(); }

  std::string string() const;
  double number() const;
  int64_t integer() const;
  bool boolean() const;

  /// Present with any value other than null.
  bool has(std::string_view key) const;
  /// The value under a required key. Not an object: type mismatch "Dictionary"; key absent:
  /// "missing <key>"; null is left for the value's reader to refuse.
  Reader operator[](std::string_view key) const;
  /// The value under an optional key; absent or null gives nothing.
  std::optional<Reader> optional(std::string_view key) const;
  /// Array elements, each with its index in the path.
  std::vector<Reader> elements() const;
  /// Object members in key order, each with its key in the path.
  std::vector<std::pair<std::string, Reader>> members() const;

  /// Throws a type mismatch unless this is an object (so a record's reader can check first).
  void requireObject() const;

  [[noreturn]] void typeMismatch(std::string_view expected) const;
  [[noreturn]] void corrupted(std::string description) const;

  template <class T>
  T decode() const {
    return Coding<T>::read(*this);
  }
  template <class T>
  T get(std::string_view key) const {
    return (*this)[key].template decode<T>();
  }
  template <class T>
  std::optional<T> getIfPresent(std::string_view key) const {
    if (auto child = optional(key)) return child->template decode<T>();
    return std::nullopt;
  }
  template <class T>
  T getOr(std::string_view key, T fallback) const {
    if (auto child = optional(key)) return child->template decode<T>();
    return fallback;
  }

  Reader child(const Json& value, std::string_view key) const;
  Reader child(const Json& value, size_t index) const;

 private:
  void requireNotNull(std::string_view expected) const;

  const Json* value_;
  std::string path_;
};

/// Builds a JSON object field by field; the `*IfPresent` and `*IfNotEmpty` forms keep the
/// written document sparse.
class ObjectWriter {
 public:
  template <class T>
  ObjectWriter& put(const std::string& key, const T& value) {
    object_[key] = Coding<T>::write(value);
    return *this;
  }
  template <class T>
  ObjectWriter& putIfPresent(const std::string& key, const std::optional<T>& value) {
    if (value) object_[key] = Coding<T>::write(*value);
    return *this;
  }
  template <class C>
  ObjectWriter& putIfNotEmpty(const std::string& key, const C& container) {
    if (!container.empty()) object_[key] = Coding<C>::write(container);
    return *this;
  }
  ObjectWriter& putJSON(const std::string& key, Json value) {
    object_[key] = std::move(value);
    return *this;
  }
  /// Adds every member of another object (a creative writes its slide's keys flat).
  ObjectWriter& merge(const Json& other);

  Json done() { return std::move(object_); }

 private:
  Json object_ = Json::object();
};

// Scalars.
template <>
struct Coding<std::string> {
  static std::string read(const Reader& r) { return r.string(); }
  static Json write(const std::string& v) { return v; }
};
template <>
struct Coding<double> {
  static double read(const Reader& r) { return r.number(); }
  static Json write(double v) { return v; }
};
template <>
struct Coding<int> {
  static int read(const Reader& r);
  static Json write(int v) { return v; }
};
template <>
struct Coding<bool> {
  static bool read(const Reader& r) { return r.boolean(); }
  static Json write(bool v) { return v; }
};
template <>
struct Coding<Json> {
  static Json read(const Reader& r) { return r.json(); }
  static Json write(const Json& v) { return v; }
};

// Containers.
template <class T>
struct Coding<std::vector<T>> {
  static std::vector<T> read(const Reader& r) {
    std::vector<T> out;
    for (const auto& element : r.elements()) out.push_back(Coding<T>::read(element));
    return out;
  }
  static Json write(const std::vector<T>& values) {
    Json out = Json::array();
    for (const auto& v : values) out.push_back(Coding<T>::write(v));
    return out;
  }
};
template <class T>
struct Coding<std::map<std::string, T>> {
  static std::map<std::string, T> read(const Reader& r) {
    std::map<std::string, T> out;
    for (const auto& [key, value] : r.members()) out.emplace(key, Coding<T>::read(value));
    return out;
  }
  static Json write(const std::map<std::string, T>& values) {
    Json out = Json::object();
    for (const auto& [key, v] : values) out[key] = Coding<T>::write(v);
    return out;
  }
};

/// An enumeration outside its list is a data-corrupted error that names the allowed values.
[[noreturn]] void invalidEnumValue(const Reader& r, std::string_view typeName, const std::string& raw,
                                   const std::string_view* names, size_t count);

template <NamedEnum E>
struct Coding<E> {
  static E read(const Reader& r) {
    std::string raw = r.string();
    if (auto value = enumCase<E>(raw)) return *value;
    invalidEnumValue(r, EnumNames<E>::typeName, raw, EnumNames<E>::names.data(), EnumNames<E>::names.size());
  }
  static Json write(E value) { return std::string(rawValue(value)); }
};

}  // namespace vorno
