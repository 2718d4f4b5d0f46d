#include "server/tools.h"

namespace vorno {

ToolList creativeTools() { return {}; }

}  // namespace vorno
