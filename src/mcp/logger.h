// Logger: the protocol layer's diagnostics, kept off standard output, which belongs to the protocol.
//
// A line reads "2025-06-01T10:00:00.123Z info mcp.server: Server started name=vorno version=1.5.0".
// The sink is process-wide: standard error by default, or a function a test installs to read what
// was logged. Lines from several threads never mix: the sink is called under one lock.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace vorno::mcp {

class Logger {
 public:
  enum class Level { debug, info, warning, error };
  using Sink = std::function<void(Level level, std::string_view label, std::string_view message)>;

  explicit Logger(std::string label) : label_(std::move(label)) {}

  void debug(std::string_view message) const { log(Level::debug, message); }
  void info(std::string_view message) const { log(Level::info, message); }
  void warning(std::string_view message) const { log(Level::warning, message); }
  void error(std::string_view message) const { log(Level::error, message); }
  void log(Level level, std::string_view message) const;

  const std::string& label() const { return label_; }

  /// Replaces the sink; an empty function restores standard error. Returns the previous sink.
  static Sink setSink(Sink sink);
  /// Lines below this level are dropped by the standard-error sink (info by default;
  /// VORNO_MCP_DEBUG=1 in the environment lowers it to debug). Installed sinks see every line.
  static void setMinimumLevel(Level level);

  static const char* name(Level level);

 private:
  std::string label_;
};

}  // namespace vorno::mcp
