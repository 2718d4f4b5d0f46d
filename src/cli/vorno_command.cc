#include "cli/vorno_command.h"

namespace vorno::cli {

int run(int, char**) { return 0; }

}  // namespace vorno::cli
