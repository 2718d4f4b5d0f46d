#include "server/tools.h"

namespace vorno {

ToolList deviceTools() { return {}; }

}  // namespace vorno
