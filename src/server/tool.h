// Tool: one thing an agent can ask of the server, as a stateless value. The registry holds one
// of each; the server turns every `tools/call` into `call` and logs it around the call.
//
//   class SlideDeleteTool final : public Tool {
//    public:
//     std::string name() const override { return "slide_delete"; }
//     ...
//     std::vector<Content> call(const Arguments& arguments, const ToolContext& context,
//                               ToolProgress& progress) const override;
//   };
//
// A call answers with content items or throws; the server turns what it throws into an
// `isError` answer with the error's words, never into a protocol error.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/value.h"
#include "server/arguments.h"
#include "server/content.h"

namespace vorno {

namespace mcp {
class RequestContext;
}

struct ToolContext;

/// Hints for the client; an unset hint is left out.
struct ToolAnnotations {
  std::optional<bool> readOnlyHint;
  std::optional<bool> destructiveHint;
  std::optional<bool> idempotentHint;
  std::optional<bool> openWorldHint;

  /// A tool that changes nothing: it reads or renders.
  static ToolAnnotations readOnly() { return {true, std::nullopt, std::nullopt, std::nullopt}; }
  /// A tool that removes something.
  static ToolAnnotations destructive() { return {std::nullopt, true, std::nullopt, std::nullopt}; }

  bool empty() const { return !readOnlyHint && !destructiveHint && !idempotentHint && !openWorldHint; }
  mcp::Value toValue() const;
};

/// What the activity log says of a call.
struct ToolActivity {
  std::string summary;
  std::optional<std::string> slide;
  std::optional<std::string> target;
  std::optional<std::string> locale;
};

/// A long tool's line to the client while it works: `notifications/progress` when the request
/// asked for them, and whether the client has given up on the call. Without a request (tests,
/// benchmarks) both are silent.
class ToolProgress {
 public:
  ToolProgress() = default;
  explicit ToolProgress(mcp::RequestContext* request) : request_(request) {}

  /// Sends `done` of `total` with a short message; progress that doesn't grow is dropped.
  void report(double done, double total, std::string message);
  bool isCancelled() const;

 private:
  mcp::RequestContext* request_ = nullptr;
};

class Tool {
 public:
  virtual ~Tool() = default;

  virtual std::string name() const = 0;
  virtual std::string description() const = 0;
  virtual mcp::Value inputSchema() const = 0;
  virtual ToolAnnotations annotations() const { return {}; }
  /// Whether a call draws pictures (renders, exports), and so waits for one of the server's
  /// PictureSlots before it runs.
  virtual bool drawsPictures() const { return false; }
  virtual std::vector<Content> call(const Arguments& arguments, const ToolContext& context,
                                    ToolProgress& progress) const = 0;
  /// The summary and subjects of a call for the activity log. By default the name in words
  /// ("Spread Delete") and the slide as the `slide` or `id` argument.
  virtual ToolActivity activity(const Arguments& arguments) const;

  /// The definition `tools/list` shows: name, description, inputSchema, annotations when set.
  mcp::Value definition() const;

  /// "spread_delete" -> "Spread Delete".
  static std::string wordsOf(std::string_view name);
};

}  // namespace vorno
