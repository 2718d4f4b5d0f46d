#include "kit/model/device_slot_editing.h"

#include "kit/model/slide_element.h"

namespace vorno {
namespace {

Platform otherStore(Platform platform) { return platform == Platform::ios ? Platform::android : Platform::ios; }

/// Drops entries with nothing left in them, and the map once it is empty, so that the document
/// writes no empty objects.
void tidy(DeviceSlot& slot) {
  if (!slot.platforms) return;
  std::erase_if(*slot.platforms, [](const auto& entry) { return entry.second == DeviceLook{}; });
  if (slot.platforms->empty()) slot.platforms.reset();
}

}  // namespace

void setScreenshot(DeviceSlot& slot, const std::string& path, const StoreTarget& target, bool keepingOtherStore) {
  const std::string store(rawValue(target.platform));
  if (const auto* single = std::get_if<std::string>(&slot.screenshot.value)) {
    // Dropping an Android capture onto an iOS device keeps the iOS capture for iOS.
    if (keepingOtherStore && !single->empty() && *single != path) {
      std::map<std::string, std::string> byStore{{std::string(rawValue(otherStore(target.platform))), *single},
                                                 {store, path}};
      slot.screenshot = ScreenshotRef::byTarget(std::move(byStore));
    } else {
      slot.screenshot = ScreenshotRef::path(path);
    }
    return;
  }
  auto& byTarget = std::get<std::map<std::string, std::string>>(slot.screenshot.value);
  byTarget[byTarget.contains(target.id) ? target.id : store] = path;
}

void setLook(DeviceSlot& slot, Platform platform, const std::optional<std::string>& frame,
             const std::optional<std::string>& finish) {
  const std::string store(rawValue(platform));
  const bool hasEntry = slot.platforms && slot.platforms->contains(store);
  // The slot's own values are what iOS shows, so they are iOS's to change while it has no entry.
  if (platform == Platform::ios && !hasEntry) {
    slot.frame = frame;
    slot.finish = finish;
    return;
  }
  // What equals the slot's own value is what the store would show anyway; leaving it out of the
  // entry keeps the entry, or the lack of one, as small as it can be.
  DeviceLook entry = hasEntry ? slot.platforms->at(store) : DeviceLook{};
  entry.frame = frame == slot.frame ? std::nullopt : frame;
  entry.finish = finish == slot.finish ? std::nullopt : finish;
  if (!slot.platforms) slot.platforms = std::map<std::string, DeviceLook>{};
  (*slot.platforms)[store] = entry;
  tidy(slot);
}

void setCrop(DeviceSlot& slot, Platform platform, const std::optional<CropRect>& crop) {
  if (platform == Platform::ios || !slot.crop) {
    slot.crop = crop;
    if (platform == Platform::ios && slot.platforms)
      if (auto it = slot.platforms->find(std::string(rawValue(Platform::ios))); it != slot.platforms->end())
        it->second.crop.reset();
  } else {
    if (!slot.platforms) slot.platforms = std::map<std::string, DeviceLook>{};
    (*slot.platforms)[std::string(rawValue(platform))].crop = crop;
  }
  tidy(slot);
}

void removeCrops(DeviceSlot& slot) {
  slot.crop.reset();
  if (slot.platforms)
    for (auto& [store, look] : *slot.platforms) look.crop.reset();
  tidy(slot);
}

}  // namespace vorno
