#include "mcp/message.h"

namespace vorno::mcp {
namespace {

constexpr const char* kVersion = "2.0";

const Value::Object& objectOf(const Value& message) {
  const Value::Object* object = message.objectValue();
  if (!object) throw MCPError::invalidRequest(sentences::notAnObject);
  return *object;
}

void checkVersion(const Value& message) {
  const Value* version = message.find("jsonrpc");
  if (!version || !version->stringValue() || *version->stringValue() != kVersion) {
    throw MCPError::invalidRequest(sentences::invalidVersion);
  }
}

std::string methodOf(const Value& message) {
  const Value* method = message.find("method");
  if (!method || !method->stringValue()) throw MCPError::invalidRequest(sentences::missingMethod);
  return *method->stringValue();
}

std::optional<Value> paramsOf(const Value& message) {
  const Value* params = message.find("params");
  if (!params || params->isNull()) return std::nullopt;
  return *params;
}

Value envelope(Value::Object members) {
  members.emplace("jsonrpc", Value(kVersion));
  return Value(std::move(members));
}

}  // namespace

Value Request::toValue() const {
  Value::Object members{{"id", id.toValue()}, {"method", Value(method)}};
  if (params) members.emplace("params", *params);
  return envelope(std::move(members));
}

Value Notification::toValue() const {
  Value::Object members{{"method", Value(method)}};
  if (params) members.emplace("params", *params);
  return envelope(std::move(members));
}

Value Response::toValue() const {
  Value::Object members{{"id", id.toValue()}};
  if (auto result = std::get_if<Value>(&outcome)) {
    members.emplace("result", *result);
  } else {
    members.emplace("error", std::get<MCPError>(outcome).toValue());
  }
  return envelope(std::move(members));
}

Request decodeRequest(const Value& message) {
  objectOf(message);
  checkVersion(message);
  const Value* id = message.find("id");
  if (!id) throw MCPError::invalidRequest(sentences::idType);
  return Request{ID::fromValue(*id), methodOf(message), paramsOf(message)};
}

Notification decodeNotification(const Value& message) {
  objectOf(message);
  checkVersion(message);
  // A message with an id is a request; one whose id can't be read is not quietly a notification.
  if (const Value* id = message.find("id"); id && !id->isNull()) {
    throw MCPError::invalidRequest(sentences::idType);
  }
  return Notification{methodOf(message), paramsOf(message)};
}

Response decodeResponse(const Value& message) {
  objectOf(message);
  checkVersion(message);
  if (message.find("method")) throw MCPError::invalidRequest(sentences::missingOutcome);
  const Value* idValue = message.find("id");
  if (!idValue) throw MCPError::invalidRequest(sentences::idType);
  ID id = ID::fromValue(*idValue);
  if (const Value* error = message.find("error")) return Response::failure(id, MCPError::fromValue(*error));
  if (const Value* result = message.find("result")) return Response::success(id, *result);
  throw MCPError::invalidRequest(sentences::missingOutcome);
}

std::vector<BatchItem> decodeBatch(const Value& message) {
  const Value::Array* array = message.arrayValue();
  if (!array) throw MCPError::invalidRequest(sentences::invalidMessage);
  if (array->empty()) throw MCPError::invalidRequest(sentences::emptyBatch);
  std::vector<BatchItem> items;
  items.reserve(array->size());
  for (const Value& item : *array) {
    const Value* id = item.find("id");
    try {
      if (id && !id->isNull()) {
        items.emplace_back(decodeRequest(item));
      } else {
        items.emplace_back(decodeNotification(item));
      }
    } catch (const MCPError&) {
      throw MCPError::invalidRequest(sentences::invalidBatchItem);
    }
  }
  return items;
}

std::optional<ID> readableID(const Value& message) {
  const Value* id = message.find("id");
  return id ? ID::read(*id) : std::nullopt;
}

Value checkedParams(const std::optional<Value>& params, bool required) {
  if (!params) {
    if (required) throw MCPError::invalidParams(sentences::missingParams);
    return Value(Value::Object{});
  }
  if (!params->objectValue()) throw MCPError::invalidParams(sentences::invalidParams);
  return *params;
}

}  // namespace vorno::mcp
