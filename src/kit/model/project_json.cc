#include "kit/model/project_json.h"

#include "kit/model/codings.h"
#include "kit/model/project.h"

namespace vorno {

Project decodeProject(const Json& json) { return Reader(json).decode<Project>(); }

Json encodeProject(const Project& project) { return Coding<Project>::write(project); }

}  // namespace vorno
