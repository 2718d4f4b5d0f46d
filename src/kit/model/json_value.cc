// How the patch language works.
//
// Merging walks the patch: objects recurse, `null` removes, anything else replaces, and under a
// keyed key an object of id -> entry is matched against an array of records. Computing a patch
// is the inverse walk over the union of keys. An array can be said by id only when the change
// keeps the surviving records in their order and adds new ones at the end, because merging can
// drop, change and append records but never move them; otherwise the whole array goes into the
// patch. The three-way merge settles each value by the usual rule (one side unchanged: take the
// other) and, where both changed, recurses into objects and keyed arrays and lets theirs win
// everything else.
#include "kit/model/json_value.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>

namespace vorno {
namespace {

// The string id of a record, or null when the value is not an object with a string `id`.
const std::string* recordID(const Json& value) {
  if (!value.is_object()) return nullptr;
  auto it = value.find("id");
  if (it == value.end() || !it->is_string()) return nullptr;
  return it->get_ptr<const std::string*>();
}

// An array of records indexed by id; nothing when it is not an array, a record has no string id,
// or ids repeat.
struct Records {
  std::vector<std::string> ids;
  std::map<std::string, const Json*, std::less<>> byID;
};

std::optional<Records> records(const Json& value) {
  if (!value.is_array()) return std::nullopt;
  Records out;
  out.ids.reserve(value.size());
  for (const Json& element : value) {
    const std::string* id = recordID(element);
    if (id == nullptr || !out.byID.emplace(*id, &element).second) return std::nullopt;
    out.ids.push_back(*id);
  }
  return out;
}

// The JSON kinds that the three-way merge tells apart; integers and doubles are both numbers.
enum class JsonKind { null, boolean, number, string, array, object };

JsonKind kindOf(const Json& value) {
  if (value.is_null()) return JsonKind::null;
  if (value.is_boolean()) return JsonKind::boolean;
  if (value.is_number()) return JsonKind::number;
  if (value.is_string()) return JsonKind::string;
  if (value.is_array()) return JsonKind::array;
  return JsonKind::object;
}

bool same(const std::optional<Json>& a, const std::optional<Json>& b) {
  if (a.has_value() != b.has_value()) return false;
  return !a || *a == *b;
}

std::optional<Json> member(const Json& object, const std::string& key) {
  if (!object.is_object()) return std::nullopt;
  auto it = object.find(key);
  if (it == object.end()) return std::nullopt;
  return *it;
}

std::optional<Json> recordIn(const std::optional<Records>& side, const std::string& id) {
  if (!side) return std::nullopt;
  auto it = side->byID.find(id);
  if (it == side->byID.end()) return std::nullopt;
  return *it->second;
}

// The ids of `order` that are also in `keep`, in `order`'s order.
std::vector<std::string> filtered(const std::vector<std::string>& order,
                                  const std::map<std::string, bool, std::less<>>& keep) {
  std::vector<std::string> out;
  for (const std::string& id : order)
    if (keep.count(id) > 0) out.push_back(id);
  return out;
}

void setIn(Json& value, const Json& newValue, const JSONPath& path, size_t index) {
  if (index == path.size()) {
    value = newValue;
    return;
  }
  const std::string& part = path[index];
  bool last = index + 1 == path.size();
  if (value.is_array()) {
    for (auto it = value.begin(); it != value.end(); ++it) {
      const std::string* id = recordID(*it);
      if (id == nullptr || *id != part) continue;
      if (last && newValue.is_null()) value.erase(it);
      else setIn(*it, newValue, path, index + 1);
      return;
    }
    if (last && newValue.is_null()) return;
    // A record that isn't there yet is added, as a patch adds a new id.
    Json record = Json::object({{"id", part}});
    setIn(record, newValue, path, index + 1);
    value.push_back(std::move(record));
    return;
  }
  if (!value.is_object()) value = Json::object();
  if (last && newValue.is_null()) {
    value.erase(part);
    return;
  }
  setIn(value[part], newValue, path, index + 1);
}

void collectTextFields(const Json& value, JSONPath& path, std::vector<std::string>& out) {
  if (isTextField(path)) {
    out.push_back(joinPath(path));
    return;
  }
  if (!value.is_object()) return;
  for (auto it = value.begin(); it != value.end(); ++it) {
    path.push_back(it.key());
    collectTextFields(it.value(), path, out);
    path.pop_back();
  }
}

}  // namespace

const KeySet& keyedArrays() {
  static const KeySet keys{"slides", "spreads", "creatives", "elements"};
  return keys;
}

Json merged(const Json& value, const Json& patch, const KeySet& keyed) {
  if (!patch.is_object()) return patch;
  Json result = value.is_object() ? value : Json::object();
  // The object is a sorted map, so keys are taken in sorted order.
  for (auto it = patch.begin(); it != patch.end(); ++it) {
    const std::string& key = it.key();
    const Json& entry = it.value();
    if (entry.is_null()) {
      result.erase(key);
      continue;
    }
    auto current = result.find(key);
    if (current != result.end() && current->is_array() && entry.is_object() && keyed.count(key) > 0) {
      *current = mergeByID(*current, entry, keyed);
    } else if (current != result.end() && current->is_object() && entry.is_object()) {
      *current = merged(*current, entry, keyed);
    } else {
      // Nulls inside a new value stay where they are; readers take them as absent.
      result[key] = entry;
    }
  }
  return result;
}

Json mergeByID(const Json& array, const Json& patch, const KeySet& keyed) {
  Json out = Json::array();
  std::map<std::string, bool, std::less<>> seen;
  for (const Json& element : array) {
    const std::string* id = recordID(element);
    auto entry = id != nullptr && patch.is_object() ? patch.find(*id) : patch.end();
    if (id == nullptr || !patch.is_object() || entry == patch.end()) {
      out.push_back(element);
      continue;
    }
    seen[*id] = true;
    if (entry->is_null()) continue;
    out.push_back(merged(element, *entry, keyed));
  }
  if (!patch.is_object()) return out;
  for (auto it = patch.begin(); it != patch.end(); ++it) {
    // A removal of an id that isn't there, and an entry that isn't a record, add nothing.
    if (seen.count(it.key()) > 0 || !it.value().is_object()) continue;
    Json record = it.value();
    record["id"] = it.key();
    out.push_back(std::move(record));
  }
  return out;
}

std::optional<Json> patch(const Json& from, const Json& to, const KeySet& keyed) {
  if (from == to) return std::nullopt;
  if (!from.is_object() || !to.is_object()) return to;
  Json out = Json::object();
  auto a = from.begin(), b = to.begin();
  // Both objects are sorted maps: walk the union of their keys in one pass.
  while (a != from.end() || b != to.end()) {
    if (b == to.end() || (a != from.end() && a.key() < b.key())) {
      out[a.key()] = nullptr;
      ++a;
    } else if (a == from.end() || b.key() < a.key()) {
      out[b.key()] = b.value();
      ++b;
    } else {
      const std::string& key = a.key();
      if (keyed.count(key) > 0) {
        if (auto byID = keyedPatch(a.value(), b.value(), keyed)) {
          if (!byID->empty()) out[key] = std::move(*byID);
          ++a, ++b;
          continue;
        }
      }
      if (auto inner = patch(a.value(), b.value(), keyed)) out[key] = std::move(*inner);
      ++a, ++b;
    }
  }
  return out;
}

std::optional<Json> keyedPatch(const Json& oldArray, const Json& newArray, const KeySet& keyed) {
  auto before = records(oldArray);
  auto after = records(newArray);
  if (!before || !after) return std::nullopt;

  // A merge keeps the surviving records in place and appends new ones in sorted order after
  // them, so anything else must be said with the whole array.
  std::vector<std::string> survivorsBefore, survivorsAfter;
  for (const std::string& id : before->ids)
    if (after->byID.count(id) > 0) survivorsBefore.push_back(id);
  bool sawNew = false;
  for (const std::string& id : after->ids) {
    if (before->byID.count(id) > 0) {
      if (sawNew) return std::nullopt;
      survivorsAfter.push_back(id);
    } else {
      sawNew = true;
    }
  }
  if (survivorsBefore != survivorsAfter) return std::nullopt;

  Json out = Json::object();
  for (const std::string& id : before->ids) {
    auto now = after->byID.find(id);
    if (now == after->byID.end()) {
      out[id] = nullptr;
    } else if (auto inner = patch(*before->byID.at(id), *now->second, keyed)) {
      out[id] = std::move(*inner);
    }
  }
  for (const std::string& id : after->ids)
    if (before->byID.count(id) == 0) out[id] = *after->byID.at(id);
  return out;
}

std::optional<Json> merge3(const std::optional<Json>& base, const std::optional<Json>& ours,
                           const std::optional<Json>& theirs, const std::optional<std::string>& key,
                           const KeySet& keyed) {
  if (same(ours, theirs)) return ours;
  if (same(ours, base)) return theirs;
  if (same(theirs, base)) return ours;
  // Both sides changed. A removal on either side, or a change of kind, is a real conflict, and
  // theirs wins it: an edit on our side yields to a removal that arrived meanwhile.
  if (!ours || !theirs || kindOf(*ours) != kindOf(*theirs)) return theirs;

  if (ours->is_object()) {
    static const Json empty = Json::object();
    const Json& baseObject = base && base->is_object() ? *base : empty;
    std::map<std::string, bool, std::less<>> keys;
    for (const Json* side : {&baseObject, &*ours, &*theirs})
      for (auto it = side->begin(); it != side->end(); ++it) keys[it.key()] = true;
    Json out = Json::object();
    for (const auto& [name, unused] : keys) {
      auto settled = merge3(member(baseObject, name), member(*ours, name), member(*theirs, name), name, keyed);
      if (settled) out[name] = std::move(*settled);
    }
    return out;
  }
  if (ours->is_array() && key && keyed.count(*key) > 0) {
    if (auto byID = mergeKeyed(base, ours, theirs, keyed)) return byID;
  }
  return theirs;
}

std::optional<Json> mergeKeyed(const std::optional<Json>& base, const std::optional<Json>& ours,
                               const std::optional<Json>& theirs, const KeySet& keyed) {
  std::optional<Records> baseRecords, ourRecords, theirRecords;
  if (base && !(baseRecords = records(*base))) return std::nullopt;
  if (ours && !(ourRecords = records(*ours))) return std::nullopt;
  if (theirs && !(theirRecords = records(*theirs))) return std::nullopt;

  // Settle every id that any side has.
  std::map<std::string, Json, std::less<>> settled;
  std::map<std::string, bool, std::less<>> visited;
  for (const auto* side : {&baseRecords, &ourRecords, &theirRecords}) {
    if (!*side) continue;
    for (const std::string& id : (*side)->ids) {
      if (!visited.emplace(id, true).second) continue;
      auto result = merge3(recordIn(baseRecords, id), recordIn(ourRecords, id), recordIn(theirRecords, id),
                           std::nullopt, keyed);
      if (result) settled.emplace(id, std::move(*result));
    }
  }
  std::map<std::string, bool, std::less<>> alive;
  for (const auto& [id, unused] : settled) alive[id] = true;

  // The ids that all three sides hold, and whether each side kept them in the base's order.
  std::map<std::string, bool, std::less<>> common;
  if (baseRecords && ourRecords && theirRecords)
    for (const std::string& id : baseRecords->ids)
      if (ourRecords->byID.count(id) > 0 && theirRecords->byID.count(id) > 0 && alive.count(id) > 0)
        common[id] = true;
  auto commonIn = [&](const std::optional<Records>& side) {
    return side ? filtered(side->ids, common) : std::vector<std::string>{};
  };
  std::vector<std::string> baseOrder = commonIn(baseRecords);
  std::vector<std::string> ourOrder = commonIn(ourRecords);
  bool oursFromBase = ourOrder == baseOrder;
  bool theirsFromBase = commonIn(theirRecords) == baseOrder;

  // Theirs gives the sequence, unless only ours moved the common records: then ours gives their
  // order, and theirs keeps the places of the records it alone holds.
  std::vector<std::string> sequence = theirRecords ? filtered(theirRecords->ids, alive) : std::vector<std::string>{};
  if (theirsFromBase && !oursFromBase) {
    size_t next = 0;
    for (std::string& id : sequence)
      if (common.count(id) > 0) id = ourOrder[next++];
  }

  // Records that only ours added follow their predecessor in ours, or go to the end.
  if (ourRecords) {
    std::map<std::string, bool, std::less<>> placed;
    for (const std::string& id : sequence) placed[id] = true;
    for (size_t i = 0; i < ourRecords->ids.size(); ++i) {
      const std::string& id = ourRecords->ids[i];
      if (placed.count(id) > 0 || alive.count(id) == 0) continue;
      auto at = sequence.end();
      if (i > 0 && placed.count(ourRecords->ids[i - 1]) > 0) {
        at = std::find(sequence.begin(), sequence.end(), ourRecords->ids[i - 1]);
        if (at != sequence.end()) ++at;
      }
      sequence.insert(at, id);
      placed[id] = true;
    }
  }

  Json out = Json::array();
  for (const std::string& id : sequence) out.push_back(std::move(settled.at(id)));
  return out;
}

JSONPath splitPath(std::string_view path) {
  JSONPath parts;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string_view::npos) end = path.size();
    if (end > start) parts.emplace_back(path.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

std::string joinPath(const JSONPath& parts) {
  std::string out;
  for (const std::string& part : parts) {
    if (!out.empty()) out += '/';
    out += part;
  }
  return out;
}

const Json* valueAt(const Json& value, const JSONPath& path) {
  const Json* current = &value;
  for (const std::string& part : path) {
    if (current->is_object()) {
      auto it = current->find(part);
      if (it == current->end()) return nullptr;
      current = &*it;
    } else if (current->is_array()) {
      const Json* found = nullptr;
      for (const Json& element : *current) {
        const std::string* id = recordID(element);
        if (id != nullptr && *id == part) {
          found = &element;
          break;
        }
      }
      if (found == nullptr) return nullptr;
      current = found;
    } else {
      return nullptr;
    }
  }
  return current;
}

Json setting(const Json& value, const Json& newValue, const JSONPath& path) {
  Json out = value;
  setIn(out, newValue, path, 0);
  return out;
}

bool covers(const Json& patch, const JSONPath& path) {
  const Json* current = &patch;
  for (const std::string& part : path) {
    if (!current->is_object()) return true;
    auto it = current->find(part);
    if (it == current->end()) return false;
    current = &*it;
  }
  return true;
}

bool isLocked(const Json& patch, const JSONPath& path) {
  const Json* current = &patch;
  for (const std::string& part : path) {
    if (current->is_array()) return true;
    if (!current->is_object()) return false;
    auto it = current->find(part);
    if (it == current->end()) return false;
    current = &*it;
  }
  return false;
}

bool isTextField(const JSONPath& path) {
  if (path.size() < 3) return false;
  const std::string& owner = path[0];
  if (owner != "slides" && owner != "spreads" && owner != "creatives") return false;
  if (path.size() == 3) return path[2] == "headline" || path[2] == "eyebrow" || path[2] == "subhead";
  if (path[2] != "elements") return false;
  if (path.size() == 5) return path[4] == "text";
  if (path.size() == 6) return path[4] == "component" && (path[5] == "title" || path[5] == "subtitle");
  return false;
}

std::vector<std::string> textFields(const Json& patch, const JSONPath& path) {
  std::vector<std::string> out;
  JSONPath walk = path;
  collectTextFields(patch, walk, out);
  return out;
}

}  // namespace vorno
