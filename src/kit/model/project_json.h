// The JSON form of a whole project: the tolerant reader and the sparse writer.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace vorno {

using Json = nlohmann::json;
struct Project;

/// Throws DecodingError with the coding path of the first problem.
Project decodeProject(const Json& json);
/// The sparse form: defaults and empty collections left out.
Json encodeProject(const Project& project);

}  // namespace vorno
