#include "server/agent_identity.h"

#include <array>
#include <utility>

namespace vorno {

AgentIdentity& AgentIdentity::shared() {
  static AgentIdentity identity;
  return identity;
}

std::string AgentIdentity::name() const {
  std::lock_guard lock(mutex_);
  return name_;
}

void AgentIdentity::set(std::string_view clientName) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 3> known = {
      {{"claude", "Claude"}, {"codex", "Codex"}, {"cursor", "Cursor"}}};
  std::string lowered(clientName);
  for (char& c : lowered)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  std::string name = clientName.empty() ? "Agent" : std::string(clientName);
  for (const auto& [word, brand] : known)
    if (lowered.find(word) != std::string::npos) {
      name = brand;
      break;
    }
  std::lock_guard lock(mutex_);
  name_ = std::move(name);
}

}  // namespace vorno
