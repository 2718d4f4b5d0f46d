#include "kit/model/variant.h"

#include "kit/model/codings.h"

namespace vorno {
namespace {

const Json& nullJSON() {
  static const Json value;
  return value;
}

}  // namespace

JSONValue::JSONValue() : value_(std::make_unique<Json>()) {}
JSONValue::JSONValue(const Json& value) : value_(std::make_unique<Json>(value)) {}
JSONValue::JSONValue(Json&& value) : value_(std::make_unique<Json>(std::move(value))) {}
JSONValue::JSONValue(const JSONValue& other) : value_(std::make_unique<Json>(other.json())) {}
JSONValue::JSONValue(JSONValue&& other) noexcept = default;
JSONValue& JSONValue::operator=(const JSONValue& other) {
  if (this != &other) value_ = std::make_unique<Json>(other.json());
  return *this;
}
JSONValue& JSONValue::operator=(JSONValue&& other) noexcept = default;
JSONValue::~JSONValue() = default;

const Json& JSONValue::json() const { return value_ ? *value_ : nullJSON(); }

Json& JSONValue::json() {
  if (!value_) value_ = std::make_unique<Json>();
  return *value_;
}

bool JSONValue::operator==(const JSONValue& other) const { return json() == other.json(); }

JSONValue Coding<JSONValue>::read(const Reader& r) { return JSONValue(r.json()); }

Json Coding<JSONValue>::write(const JSONValue& value) { return value.json(); }

Variant Coding<Variant>::read(const Reader& r) {
  Variant v;
  v.id = r.get<std::string>("id");
  v.name = r.getIfPresent<std::string>("name");
  // Required, but any JSON value is a patch, null included.
  v.patch = r.get<JSONValue>("patch");
  return v;
}

Json Coding<Variant>::write(const Variant& v) {
  return ObjectWriter().put("id", v.id).putIfPresent("name", v.name).put("patch", v.patch).done();
}

}  // namespace vorno
