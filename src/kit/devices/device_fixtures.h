// Test fixtures for the device code: device-type bundles as the simulators install them
// (property lists in XML or binary form, mask PDFs) built in a temporary folder, since no such
// bundle exists on Linux. Used by the unit tests here and the end-to-end command test.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <optional>
#include <string>

namespace vorno::testing {

/// Writes a property list from a JSON tree: integers become integers, other numbers reals,
/// objects dictionaries. `binary` picks the packed form over XML.
void writePropertyList(const std::filesystem::path& file, const nlohmann::json& value, bool binary);

/// A one-page PDF of `width` by `height` points with a continuous rectangle of `radius` filling
/// it (one radius for the left corners and `rightRadius` for the right ones when given): the
/// screen mask of a device type.
void writeMaskPDF(const std::filesystem::path& file, double width, double height, double radius,
                  std::optional<double> rightRadius = std::nullopt);

/// Makes `<folder>/<name>.simdevicetype/Contents/Resources` with profile.plist and, when given,
/// capabilities.plist (its dictionary wrapped under "capabilities"); returns the bundle's path.
std::filesystem::path writeBundle(const std::filesystem::path& folder, const std::string& name,
                                  const nlohmann::json& profile, const std::optional<nlohmann::json>& capabilities,
                                  bool binary);

/// The Resources folder of a bundle.
std::filesystem::path resourcesOf(const std::filesystem::path& bundle);

}  // namespace vorno::testing
