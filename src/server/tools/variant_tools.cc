#include "server/tools.h"

namespace vorno {

ToolList variantTools() { return {}; }

}  // namespace vorno
