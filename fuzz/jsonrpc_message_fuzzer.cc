// Decodes arbitrary lines as JSON-RPC messages, the way the message loop tries the forms. A line
// is no JSON, or decodes as some form or none with the protocol's sentence; whatever decodes
// encodes to a message that decodes to the same thing.
#include "fuzz/fuzz_support.h"
#include "mcp/mcp_error.h"
#include "mcp/message.h"
#include "mcp/value.h"

using namespace vorno;
using namespace vorno::mcp;
using vorno::fuzz::fuzzCheck;

namespace {

template <class Decode>
void roundTrips(const Value& message, Decode decode) {
  try {
    auto decoded = decode(message);
    auto again = decode(decoded.toValue());
    fuzzCheck(again.toValue() == decoded.toValue(), "a decoded message encodes to another");
    fuzzCheck(Value::parse(decoded.toValue().wire()).has_value(), "an encoded message is no JSON");
  } catch (const MCPError& failure) {
    fuzzCheck(failure.kind() == MCPError::Kind::invalidRequest, "a message of no form is not an invalid request");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::optional<Value> message = Value::parse(fuzz::asText(data, size));
  if (!message) return 0;
  std::string wire = message->wire();
  fuzzCheck(Value::parse(wire).has_value(), "a value's wire form is no JSON");
  (void)readableID(*message);
  roundTrips(*message, decodeRequest);
  roundTrips(*message, decodeNotification);
  roundTrips(*message, decodeResponse);
  try {
    for (const BatchItem& item : decodeBatch(*message)) {
      std::visit([](const auto& decoded) { (void)decoded.toValue().wire(); }, item);
    }
  } catch (const MCPError& failure) {
    fuzzCheck(failure.kind() == MCPError::Kind::invalidRequest, "a batch of no form is not an invalid request");
  }
  try {
    (void)checkedParams(message->find("params") ? std::optional<Value>(*message->find("params")) : std::nullopt, true);
  } catch (const MCPError& failure) {
    fuzzCheck(failure.kind() == MCPError::Kind::invalidParams, "bad params are not invalid params");
  }
  return 0;
}
