// A slide at one moment of a creative's loop: the scene's words and captures swapped in, the
// frame of an image sequence chosen, and recordings stamped with the time to show.
#include "kit/model/motion.h"
#include "kit/model/recordings.h"
#include "kit/model/slide.h"
#include "kit/util/format.h"

#include <functional>
#include <string>

namespace vorno {

namespace {

using PathEdit = std::function<void(std::string&)>;

void editScreenshot(ScreenshotRef& ref, const PathEdit& edit) {
  if (auto* path = std::get_if<std::string>(&ref.value)) {
    edit(*path);
    return;
  }
  for (auto& [target, path] : std::get<std::map<std::string, std::string>>(ref.value)) edit(path);
}

// Every path a moment can change: the captures of the slide's device and of device elements,
// and the files of image elements and of components (a notification's icon).
void editPaths(Slide& slide, const PathEdit& edit) {
  if (slide.device) editScreenshot(slide.device->screenshot, edit);
  for (SlideElement& element : slide.elements) {
    if (element.device) editScreenshot(element.device->screenshot, edit);
    if (element.image) edit(*element.image);
    if (element.component && element.component->image) edit(*element.component->image);
  }
}

const std::string kFrameMark = "{frame}";

void replaceAll(std::string& text, const std::string& mark, const std::string& by) {
  for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + by.size()))
    text.replace(at, mark.size(), by);
}

SlideElement* elementWithID(Slide& slide, const std::string& id) {
  for (SlideElement& element : slide.elements)
    if (element.id == id) return &element;
  return nullptr;
}

}  // namespace

Slide Slide::applying(const MotionScene& scene) const {
  Slide slide = *this;
  if (scene.texts) {
    for (const auto& [key, text] : *scene.texts) {
      if (key == "eyebrow") {
        slide.eyebrow = text;
      } else if (key == "headline") {
        slide.headline = text;
      } else if (key == "subhead") {
        slide.subhead = text;
      } else if (SlideElement* element = elementWithID(slide, key)) {
        if (element->kind == SlideElement::Kind::text)
          element->text = text;
        else if (element->kind == SlideElement::Kind::component && element->component)
          element->component->title = text;
      }
    }
  }
  if (scene.screens) {
    for (const auto& [key, screen] : *scene.screens) {
      if (key == "device") {
        if (slide.device) slide.device->screenshot = screen;
      } else if (SlideElement* element = elementWithID(slide, key); element && element->device) {
        element->device->screenshot = screen;
      }
    }
  }
  return slide;
}

bool Slide::usesFrames() const {
  bool found = false;
  Slide copy = *this;
  editPaths(copy, [&](std::string& path) { found = found || path.find(kFrameMark) != std::string::npos; });
  return found;
}

Slide Slide::atFrame(int index) const {
  Slide slide = *this;
  const std::string number = formatted("%04d", index);
  editPaths(slide, [&](std::string& path) { replaceAll(path, kFrameMark, number); });
  return slide;
}

Slide Slide::atTime(double seconds) const {
  Slide slide = *this;
  const std::string stamp = formatted("@t=%.4f", seconds);
  editPaths(slide, [&](std::string& path) {
    if (Recordings::isRecording(path)) path += stamp;
  });
  return slide;
}

}  // namespace vorno
