#include "server/schema.h"

namespace vorno {

namespace {

mcp::Value typed(const char* type, std::string description) {
  return mcp::Value::Object{{"type", type}, {"description", std::move(description)}};
}

}  // namespace

mcp::Value Schema::project() {
  return typed("string",
               "Absolute path to the .vorno package, e.g. /path/to/repo/store/MyApp.vorno. Relative paths resolve "
               "against the server's working directory.");
}

mcp::Value Schema::variant() {
  return typed("string", "Optional variant id: render or export that look instead of the base.");
}

mcp::Value Schema::string(std::string description, std::vector<std::string> allowed) {
  mcp::Value schema = typed("string", std::move(description));
  if (!allowed.empty()) {
    mcp::Value::Array values(allowed.begin(), allowed.end());
    (*schema.objectValue())["enum"] = std::move(values);
  }
  return schema;
}

mcp::Value Schema::strings(std::string description) {
  mcp::Value schema = typed("array", std::move(description));
  (*schema.objectValue())["items"] = mcp::Value::Object{{"type", "string"}};
  return schema;
}

mcp::Value Schema::integer(std::string description) { return typed("integer", std::move(description)); }
mcp::Value Schema::number(std::string description) { return typed("number", std::move(description)); }
mcp::Value Schema::boolean(std::string description) { return typed("boolean", std::move(description)); }
mcp::Value Schema::record(std::string description) { return typed("object", std::move(description)); }

mcp::Value Schema::object(mcp::Value::Object properties, std::vector<std::string> required) {
  mcp::Value::Object schema{{"type", "object"}, {"properties", std::move(properties)}, {"additionalProperties", false}};
  if (!required.empty()) schema["required"] = mcp::Value::Array(required.begin(), required.end());
  return schema;
}

}  // namespace vorno
