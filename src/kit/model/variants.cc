#include "kit/model/variants.h"

#include "kit/model/codings.h"
#include "kit/model/json_value.h"
#include "kit/model/project_json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <set>

namespace vorno {
namespace {

// The value at a coding path such as ".slides[2].overrides.ios.iphone-6.9.x". Keys may hold
// dots themselves, so each place where a key could end is tried against the document.
const Json* atCodingPath(const Json& value, std::string_view path) {
  if (path.empty()) return &value;
  if (path.front() == '[') {
    size_t close = path.find(']');
    if (close == std::string_view::npos || !value.is_array()) return nullptr;
    size_t index = 0;
    auto [end, error] = std::from_chars(path.data() + 1, path.data() + close, index);
    if (error != std::errc() || end != path.data() + close || index >= value.size()) return nullptr;
    return atCodingPath(value[index], path.substr(close + 1));
  }
  if (path.front() != '.' || !value.is_object()) return nullptr;
  for (size_t end = 1; end <= path.size(); ++end) {
    if (end < path.size() && path[end] != '.' && path[end] != '[') continue;
    auto it = value.find(std::string(path.substr(1, end - 1)));
    if (it == value.end()) continue;
    if (const Json* found = atCodingPath(*it, path.substr(end))) return found;
  }
  return nullptr;
}

std::string kindName(const Json& value) {
  if (value.is_null()) return "null";
  if (value.is_boolean()) return "a boolean";
  if (value.is_number()) return "a number";
  if (value.is_string()) return "a string";
  if (value.is_array()) return "an array";
  return "an object";
}

// A coding path as people read it in a variant's sentence: without the leading point.
std::string readablePath(std::string path) {
  if (!path.empty() && path.front() == '.') path.erase(0, 1);
  return path.empty() ? "the document" : path;
}

template <class Record, class ID>
void refuseDuplicates(const std::vector<Record>& records, ID id, std::string_view kind, const std::string& variantID) {
  std::set<std::string, std::less<>> seen;
  for (const Record& record : records) {
    const std::string& value = id(record);
    if (seen.insert(value).second) continue;
    std::string kindText(kind);
    throw VornoError::invalid("Variant " + variantID + " has two " + kindText + " with the id " + value +
                              ". Give each its own id, or patch " + kindText + " by id: {\"" + kindText + "\": {\"" +
                              value + "\": {\u2026}}}.");
  }
}

// "previous-base", or the first of "previous-base-2", "previous-base-3", ... that is free, with
// the name that goes with it.
std::pair<std::string, std::string> previousBaseName(const std::vector<Variant>& others) {
  auto taken = [&](const std::string& id) {
    for (const Variant& v : others)
      if (v.id == id) return true;
    return false;
  };
  if (!taken("previous-base")) return {"previous-base", "Previous base"};
  for (int n = 2;; ++n) {
    std::string id = "previous-base-" + std::to_string(n);
    if (!taken(id)) return {id, "Previous base " + std::to_string(n)};
  }
}

}  // namespace

Json lookJSON(const Project& project) {
  Json json = encodeProject(project);
  json.erase("variants");
  return json;
}

std::string variantDecodingMessage(const std::string& variantID, const DecodingError& error, const Json& document) {
  std::string prefix = "Variant " + variantID;
  switch (error.kind()) {
    case DecodingError::Kind::typeMismatch: {
      std::string description = "Expected " + error.detail();
      if (const Json* found = atCodingPath(document, error.path())) description += " but found " + kindName(*found);
      return prefix + " has the wrong kind of value at " + readablePath(error.path()) + ": " + description + ".";
    }
    case DecodingError::Kind::valueNotFound:
      return prefix + " leaves " + readablePath(error.path()) + " empty.";
    case DecodingError::Kind::keyNotFound:
      // The error stands at the record that lacks the key; the sentence names the key itself.
      return prefix + " leaves " + readablePath(error.path() + "." + error.detail()) + " missing.";
    case DecodingError::Kind::dataCorrupted:
      return prefix + " doesn't make a valid project at " + readablePath(error.path()) + ": " + error.detail();
  }
  return prefix + " doesn't make a valid project: " + error.summary();
}

VornoError noVariant(std::string_view variantID, const Project& project) {
  std::string list;
  for (const Variant& v : project.variants) {
    if (!list.empty()) list += ", ";
    list += v.id;
  }
  if (list.empty()) list = "none";
  return VornoError::notFound("No variant " + std::string(variantID) + ". Variants: " + list + ".");
}

Project Project::applying(const Variant& variant) const { return applyingPatch(lookJSON(*this), variant); }

Project applyingPatch(const Json& baseLook, const Variant& variant) {
  Json look = merged(baseLook, variant.patch.json());
  Project result;
  try {
    result = decodeProject(look);
  } catch (const DecodingError& error) {
    throw VornoError::invalid(variantDecodingMessage(variant.id, error, look));
  }
  result.variants.clear();
  refuseDuplicates(result.slides, [](const Slide& s) -> const std::string& { return s.id; }, "slides", variant.id);
  refuseDuplicates(result.spreads, [](const Spread& s) -> const std::string& { return s.id; }, "spreads", variant.id);
  refuseDuplicates(result.creatives, [](const Creative& c) -> const std::string& { return c.id(); }, "creatives",
                   variant.id);
  result.repairSpreads();
  return result;
}

Project Project::resolved(const std::optional<std::string>& variantID) const {
  if (!variantID) return *this;
  const Variant* found = variant(*variantID);
  if (found == nullptr) throw noVariant(*variantID, *this);
  return applying(*found);
}

JSONValue Project::patchFrom(const Project& other) const {
  Json base = lookJSON(*this);
  Json target = lookJSON(other);
  Json result = patch(base, target).value_or(Json::object());

  // Some arrays can't be said by id (new records out of sorted order, records moved by a change
  // of kind): wherever the merge still misses the target, the patch takes the target's whole
  // top-level value, so it reproduces `other` exactly.
  Json check = merged(base, result);
  if (check != target) {
    std::set<std::string> keys;
    for (auto it = check.begin(); it != check.end(); ++it) keys.insert(it.key());
    for (auto it = target.begin(); it != target.end(); ++it) keys.insert(it.key());
    for (const std::string& key : keys) {
      auto want = target.find(key);
      auto got = check.find(key);
      bool differs = want == target.end() ? got != check.end() : got == check.end() || *got != *want;
      if (differs) result[key] = want == target.end() ? Json(nullptr) : *want;
    }
  }
  return JSONValue(std::move(result));
}

Project Project::promoting(std::string_view variantID) const {
  auto promoted = std::find_if(variants.begin(), variants.end(), [&](const Variant& v) { return v.id == variantID; });
  if (promoted == variants.end()) throw noVariant(variantID, *this);
  size_t place = static_cast<size_t>(promoted - variants.begin());

  Project newBase = applying(*promoted);
  std::vector<Variant> others;
  for (size_t i = 0; i < variants.size(); ++i) {
    if (i == place) continue;
    Variant rewritten = variants[i];
    // A look that no longer applies keeps its patch as it is: lint reports it, and promoting
    // another look must not be held up by it.
    try {
      rewritten.patch = newBase.patchFrom(applying(variants[i]));
    } catch (const VornoError&) {
    }
    others.push_back(std::move(rewritten));
  }

  auto [id, name] = previousBaseName(others);
  Variant previous{id, name, newBase.patchFrom(*this)};
  others.insert(others.begin() + static_cast<std::ptrdiff_t>(place), std::move(previous));
  newBase.variants = std::move(others);
  return newBase;
}

Project Project::merge(const Project& base, const Project& ours, const Project& theirs) {
  auto settled = merge3(encodeProject(base), encodeProject(ours), encodeProject(theirs));
  Project result;
  try {
    result = decodeProject(settled.value_or(Json::object()));
  } catch (const DecodingError& error) {
    throw VornoError::invalid("The two edits don't merge into a valid project (" + error.summary() +
                              "): reload the project and make the change again.");
  }
  result.repairSpreads();
  return result;
}

}  // namespace vorno
