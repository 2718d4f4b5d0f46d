// `vorno mcp`: serves the tools on standard input and output until the host closes the input.
#include <cstdlib>

#include "cli/command_spec.h"
#include "cli/commands.h"
#include "server/vorno_server.h"

namespace vorno::cli {

int runMCP(const ParsedArguments&) {
  VornoServer::runStdio();
  // Calls still running are abandoned, not awaited: the host closed our input and expects us to
  // go. Nothing buffered is lost, since every message is written whole when it is sent.
  std::_Exit(0);
}

}  // namespace vorno::cli
