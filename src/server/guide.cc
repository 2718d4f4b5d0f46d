#include "server/guide.h"

#include "kit/layout/symbols.h"
#include "kit/model/slide_element.h"
#include "kit/model/store_target.h"
#include "kit/util/read_file.h"
#include "server/creative_docs.h"


namespace vorno {

namespace {

constexpr const char* kStoreRequirements =
    "Apple requires only iPhone 6.9″ (or 6.5″) and, for iPad apps, iPad 13″; from April 2027 also iPhone Duo. "
    "Google Play rejects images whose long side exceeds twice the short side.";

constexpr const char* kDuo =
    "ios.iphone-duo is one App Store set for the iPhone Duo (iOS 27.1, it opens like a book). Its slides are the "
    "same slides. They are laid out on its 2007×2853 canvas; to show the Duo itself, capture the app on the iPhone Duo "
    "simulator: the inner display is 2853×2007 open like a book, or 2007×2853 turned upright, and the outer "
    "display is 1398×2034 closed. The simulator boots folded and simctl can't unfold it, so ask the user to click "
    "Unfolded in Device Hub's toolbar before capturing the inner display; capture_screenshot takes whichever "
    "display is lit. Set the capture for ios.iphone-duo in device.screenshot, e.g. {\"ios\": "
    "\"captures/{locale}/home.png\", \"ios.iphone-duo\": \"captures/{locale}/home-duo.png\"}. Without a Duo "
    "capture the slide shows the iPhone and its capture.";

}  // namespace

mcp::Value GuideResource::toValue() const {
  return mcp::Value::Object{{"name", name}, {"uri", uri}, {"description", description}, {"mimeType", mimeType}};
}

const std::vector<GuideResource>& Guide::resources() {
  static const std::vector<GuideResource> list = {
      {"Vorno design guide", "vorno://guide",
       "How to design a screenshot set that converts, and the store rules Vorno enforces."},
      {"Store targets", "vorno://targets", "Every export target with exact sizes and limits."},
      {"Recipes", "vorno://recipes",
       "Copy-ready JSON for components (" + ComponentSpec::kindNames(", ") +
           "), panoramas, devices across screenshots, two-phone slides and logo lockups."}};
  return list;
}

std::optional<std::string> Guide::text(std::string_view uri) {
  if (uri == "vorno://guide") return authored("guide.md", "Vorno design guide", folders());
  if (uri == "vorno://targets") return targets();
  if (uri == "vorno://recipes") return authored("recipes.md", "Recipes", folders());
  return std::nullopt;
}

// The design guide and the recipes are authored Markdown installed beside the symbol table, so
// they are found in the same folders. A missing file is answered with a sentence that says how to
// repair the installation, never with a crash or an "unknown resource" that would send the agent
// looking elsewhere.
std::vector<std::string> Guide::folders() { return Symbols::resourceFolders(); }

std::string Guide::authored(const std::string& fileName, const std::string& title,
                            const std::vector<std::string>& folders) {
  for (const auto& folder : folders) {
    if (std::optional<std::string> text = readRegularFile(folder + "/" + fileName)) return *text;
  }
  std::string looked;
  for (const auto& folder : folders) looked += (looked.empty() ? "" : ", ") + folder;
  return "# " + title + "\n\nThis installation of Vorno is missing " + fileName + " (looked in " +
         (looked.empty() ? std::string("no folder") : looked) +
         "). Reinstall Vorno, or set VORNO_SHARE_DIR to the folder that holds " + fileName + ".\n";
}

std::string Guide::targets() {
  std::string text = "# Store targets\n\n| id | size | store limit | note |\n|---|---|---|---|\n";
  for (const auto& target : StoreTarget::all()) {
    text += "| " + target.id + " | " + std::to_string(target.width) + "×" + std::to_string(target.height) + " | " +
            std::to_string(target.minCount) + "–" + std::to_string(target.maxCount) + " | " + target.note + " |\n";
  }
  text += "\n";
  text += kStoreRequirements;
  text += "\n\n";
  text += kDuo;
  text += "\n\n";
  text += CreativeDocs::canvases();
  return text;
}

}  // namespace vorno
