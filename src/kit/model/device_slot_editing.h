// Device slot editing: changing one store's capture, frame, finish or crop of a device without
// disturbing the other store's.
//
// The slot's own frame, finish and crop serve every store that has no entry of its own under
// `platforms`, so iOS edits go to the slot's own values while they can, and Android edits become
// entries only when they differ from what Android would show anyway. Entries left empty go.
#pragma once

#include "kit/model/store_target.h"

#include <optional>
#include <string>

namespace vorno {

struct DeviceSlot;
struct CropRect;

/// Points the slot at `path` on `target`'s store. With `keepingOtherStore`, a single path that
/// differs becomes one path per store, the old one kept for the other store; a per-target
/// reference changes only the entry for this target (its id, else its store's name).
void setScreenshot(DeviceSlot& slot, const std::string& path, const StoreTarget& target, bool keepingOtherStore);

/// Writes the frame and finish one store shows; a value equal to the slot's own is left to
/// come from the slot.
void setLook(DeviceSlot& slot, Platform platform, const std::optional<std::string>& frame,
             const std::optional<std::string>& finish);

/// Writes the crop one store shows (nothing clears it): the slot's own crop for iOS or while
/// the slot has none, else the store's entry.
void setCrop(DeviceSlot& slot, Platform platform, const std::optional<CropRect>& crop);

/// Clears every crop, the slot's own and every store's.
void removeCrops(DeviceSlot& slot);

}  // namespace vorno
