#include "server/tools.h"

namespace vorno {

ToolList slideTools() { return {}; }

}  // namespace vorno
