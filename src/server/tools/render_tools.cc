#include "server/tools.h"

namespace vorno {

ToolList renderTools() { return {}; }

}  // namespace vorno
