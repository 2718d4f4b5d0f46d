#include "server/vorno_server.h"

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <thread>
#include <optional>

#include "kit/image/picture_pools.h"
#include "kit/model/vorno_info.h"
#include "kit/store/activity_log.h"
#include "kit/util/atomic_write.h"
#include "mcp/mcp_error.h"
#include "mcp/stdio_transport.h"
#include "server/agent_identity.h"
#include "server/guide.h"
#include "server/idle_memory.h"
#include "server/picture_slots.h"
#include "server/tool_registry.h"

namespace vorno {

namespace {

mcp::Value errorResult(const std::string& text) {
  return mcp::Value::Object{{"content", mcp::Value::Array{Content::plain(text).toValue()}}, {"isError", true}};
}

/// Appends one event of a call; the log's own failures never reach the tool.
void logEvent(const std::optional<ActivityLog>& log, ActivityEvent event, ActivityEvent::Phase phase,
              std::optional<std::string> error = std::nullopt) {
  if (!log) return;
  event.time = ActivityEvent::now();
  event.phase = phase;
  event.error = std::move(error);
  try {
    log->append(event);
  } catch (...) {
  }
}

}  // namespace

const std::string& VornoServer::instructions() {
  static const std::string text =
      "Vorno makes App Store and Google Play screenshot sets. Typical run:\n"
      "1. Read the vorno://guide resource once.\n"
      "2. project_create (or project_get) for a .vorno package in the app repo.\n"
      "3. capture_screenshot for each scene, per locale, from a booted simulator.\n"
      "4. slide_upsert one slide per idea; the first three carry the main benefit.\n"
      "5. render_slide after each change and look at the image; fix every error and warning.\n"
      "6. render_overview to judge the set together, then export.\n"
      "For panoramas and devices across screenshots, use spread_upsert + render_spread. For the user's own\n"
      "icons and logos, asset_add then an image element. vorno://recipes has ready-made JSON for common designs.\n"
      "For the App Store's product page header and search results art (iOS 27), use creative_upsert + "
      "render_creative.";
  return text;
}

mcp::Value VornoServer::listTools() {
  mcp::Value::Array tools;
  for (const auto& tool : ToolRegistry::tools()) tools.push_back(tool->definition());
  return mcp::Value::Object{{"tools", std::move(tools)}};
}

mcp::Value VornoServer::callTool(const mcp::Value& params, const ToolContext& context, mcp::RequestContext* request) {
  const mcp::Value* nameValue = params.find("name");
  std::string name = nameValue && nameValue->stringValue() ? *nameValue->stringValue() : "";
  const Tool* tool = ToolRegistry::named(name);
  if (!tool) return errorResult("Unknown tool " + name + ".");

  const mcp::Value* given = params.find("arguments");
  Arguments arguments(given && given->objectValue() ? *given->objectValue() : mcp::Value::Object{}, tool->name());

  // The log is the package's, found from the path as the tools resolve it; whether the package
  // exists is the tool's business.
  std::optional<ActivityLog> log;
  if (auto project = arguments.string("project")) {
    try {
      log.emplace(context.resolve(*project));
    } catch (...) {
    }
  }

  ActivityEvent event;
  try {
    ToolActivity activity = tool->activity(arguments);
    event.summary = std::move(activity.summary);
    event.slide = std::move(activity.slide);
    event.target = std::move(activity.target);
    event.locale = std::move(activity.locale);
  } catch (...) {
    event.summary = Tool::wordsOf(tool->name());
  }
  event.id = randomUUID();
  event.agent = AgentIdentity::shared().name();
  event.tool = tool->name();
  logEvent(log, event, ActivityEvent::Phase::started);

  std::string failure;
  try {
    ToolProgress progress(request);
    std::optional<PictureSlots::Held> slot;
    if (tool->drawsPictures()) slot.emplace(PictureSlots::shared().take());
    std::vector<Content> content = tool->call(arguments, context, progress);
    slot.reset();
    logEvent(log, event, ActivityEvent::Phase::finished);
    mcp::Value::Array items;
    items.reserve(content.size());
    for (const Content& item : content) items.push_back(item.toValue());
    return mcp::Value::Object{{"content", std::move(items)}, {"isError", false}};
  } catch (const std::bad_alloc&) {
    failure = "Not enough memory for " + tool->name() + ".";
  } catch (const std::exception& error) {
    failure = error.what();
  } catch (...) {
    failure = tool->name() + " failed.";
  }
  logEvent(log, event, ActivityEvent::Phase::failed, failure);
  return errorResult(failure);
}

mcp::Value VornoServer::listResources() {
  mcp::Value::Array resources;
  for (const GuideResource& resource : Guide::resources()) resources.push_back(resource.toValue());
  return mcp::Value::Object{{"resources", std::move(resources)}};
}

mcp::Value VornoServer::readResource(const mcp::Value& params) {
  const mcp::Value* uriValue = params.find("uri");
  std::string uri = uriValue && uriValue->stringValue() ? *uriValue->stringValue() : "";
  std::optional<std::string> text = Guide::text(uri);
  if (!text) throw mcp::MCPError::invalidParams("Unknown resource " + uri);
  mcp::Value::Object content{{"uri", uri}, {"mimeType", "text/markdown"}, {"text", std::move(*text)}};
  return mcp::Value::Object{{"contents", mcp::Value::Array{std::move(content)}}};
}

namespace {

// How long the server waits after its last call before giving the picture pools' memory back:
// longer than an agent's pause between a render and the next edit, short next to its idle time.
constexpr auto quietBeforeRelease = std::chrono::seconds(5);

// One for the process, never destroyed: calls still running at exit may end after static
// destructors have run.
IdleMemory& idleMemory() {
  static IdleMemory* idle = new IdleMemory(quietBeforeRelease, [] { PicturePools::drain(); });
  return *idle;
}

// Marks a tool call as running for as long as it lives.
struct RunningCall {
  RunningCall() { idleMemory().callStarted(); }
  ~RunningCall() { idleMemory().callEnded(); }
  RunningCall(const RunningCall&) = delete;
  RunningCall& operator=(const RunningCall&) = delete;
};

}  // namespace

std::unique_ptr<mcp::Server> VornoServer::make(const ToolContext& context) {
  mcp::ServerOptions options;
  options.instructions = instructions();
  options.capabilities.resources = mcp::ServerCapabilities::Resources{false, false};
  options.capabilities.tools = mcp::ServerCapabilities::Tools{false};
  options.strict = false;
  auto server = std::make_unique<mcp::Server>(
      mcp::ServerInfo{"vorno", "Vorno", std::string(VornoInfo::version)}, std::move(options));
  server->withMethodHandler("tools/list", [](const mcp::Value&, mcp::RequestContext&) { return listTools(); });
  server->withMethodHandler(
      "tools/call",
      [&context](const mcp::Value& params, mcp::RequestContext& request) {
        RunningCall running;
        return callTool(params, context, &request);
      },
      mcp::Params::required);
  server->withMethodHandler("resources/list",
                            [](const mcp::Value&, mcp::RequestContext&) { return listResources(); });
  server->withMethodHandler(
      "resources/read", [](const mcp::Value& params, mcp::RequestContext&) { return readResource(params); },
      mcp::Params::required);
  return server;
}

void VornoServer::runStdio() {
  // glibc gives each new thread an arena of its own, up to eight per core, and keeps what each
  // arena once held: a server whose calls run on short-lived threads grew by a render's worth of
  // memory per arena. One arena per core holds the same load in about a third less.
  ::mallopt(M_ARENA_MAX, std::max(2, static_cast<int>(std::thread::hardware_concurrency())));
  static const ToolContext context = ToolContext::current();
  std::unique_ptr<mcp::Server> server = make(context);
  server->start(mcp::StdioTransport::standardStreams(),
                [](const mcp::ClientInfo& client, const mcp::Value&) { AgentIdentity::shared().set(client.name); });
  server->waitUntilCompleted();
  // Calls that arrived before the input ended are still answered (a script that pipes requests
  // in and closes its end wants them), but a host that closed our input expects us to go soon,
  // so the wait is bounded. The server is left standing: destroying it would wait without end.
  const auto deadline = std::chrono::steady_clock::now() + endOfInputGrace;
  while (server->runningRequestCount() > 0 && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  server.release();
}

}  // namespace vorno
