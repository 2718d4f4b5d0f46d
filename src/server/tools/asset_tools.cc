#include "server/tools.h"

namespace vorno {

ToolList assetTools() { return {}; }

}  // namespace vorno
