// The description of slide_upsert: the agent's reference for the slide document, a commented
// sample that names every field a slide, its device, its overrides and its free elements have.
#pragma once

#include <string>

namespace vorno {

const std::string& slideUpsertDescription();

}  // namespace vorno
