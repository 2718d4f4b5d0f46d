// Variants: other looks of one project, each stored as a patch over the base document so that
// captures, translations and anything a look leaves alone stay shared.
//
// The operations themselves are members of Project (`applying`, `resolved`, `patchFrom`,
// `promoting`, `merge`); this header holds the pieces they share with the editing side of looks.
//
//   Project look = project.resolved("bold");
//   Variant calm{"calm", "Calm", project.patchFrom(editedLook)};
//   project.applying(calm) == editedLook;  // with variants cleared
#pragma once

#include "kit/model/project.h"
#include "kit/util/vorno_error.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace vorno {

using Json = nlohmann::json;
class DecodingError;

/// The project's JSON without `variants`: what a patch is laid over. Variants are never part of
/// a patch.
Json lookJSON(const Project& project);

/// `Project::applying` on a base already encoded by `lookJSON`: whoever applies many looks to one
/// base (lint, export of every look) encodes the base once.
Project applyingPatch(const Json& baseLook, const Variant& variant);

/// The sentence for a look that does not decode: which variant, where, and what is wrong.
std::string variantDecodingMessage(const std::string& variantID, const DecodingError& error, const Json& document);

/// "No variant <id>. Variants: <ids, or none>."
VornoError noVariant(std::string_view variantID, const Project& project);

}  // namespace vorno
