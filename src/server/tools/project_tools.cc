#include "server/tools.h"

namespace vorno {

ToolList projectTools() { return {}; }

}  // namespace vorno
