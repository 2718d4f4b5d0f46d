#include "kit/render/render_report.h"

#include <nlohmann/json.hpp>

namespace vorno {

Json NormalizedRect::toJSON() const {
  Json json = Json::object();
  json["x"] = x;
  json["y"] = y;
  json["width"] = width;
  json["height"] = height;
  return json;
}

Json ReportedElement::toJSON() const {
  Json json = Json::object();
  json["id"] = id;
  json["kind"] = kind;
  json["x"] = x;
  json["y"] = y;
  json["width"] = width;
  json["height"] = height;
  if (rotation != 0) json["rotation"] = rotation;
  return json;
}

Json RenderReport::toJSON() const {
  Json json = Json::object();
  json["slide"] = slide;
  json["target"] = target;
  json["locale"] = locale;
  json["width"] = width;
  json["height"] = height;
  if (frame) json["frame"] = *frame;
  if (headlineFontSize) json["headlineFontSize"] = *headlineFontSize;
  if (deviceRect) json["deviceRect"] = deviceRect->toJSON();
  if (textRect) json["textRect"] = textRect->toJSON();
  Json placed = Json::array();
  for (const auto& element : elements) placed.push_back(element.toJSON());
  json["elements"] = std::move(placed);
  Json list = Json::array();
  for (const auto& issue : issues) list.push_back(issue.toJSON());
  json["issues"] = std::move(list);
  return json;
}

}  // namespace vorno
