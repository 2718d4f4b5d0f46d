// AgentIdentity: the name under which this process's tool calls are logged. It is "Agent" until
// the client introduces itself in `initialize`; a known assistant is named as users know it.
#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace vorno {

class AgentIdentity {
 public:
  /// The one identity of the process.
  static AgentIdentity& shared();

  std::string name() const;
  /// "Claude Code" and "claude-desktop" give "Claude" (likewise Codex and Cursor); another
  /// non-empty name is kept as given; an empty one gives "Agent".
  void set(std::string_view clientName);

 private:
  mutable std::mutex mutex_;
  std::string name_ = "Agent";
};

}  // namespace vorno
