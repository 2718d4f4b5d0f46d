// How it works. Applying a look merges its patch into the base's JSON and reads the whole result
// back as a project; it fails when some part does not read, or when two slides, spreads or
// creatives end up with one id. Reading is local: a record reads the same wherever it stands, and
// the project's reader reads each top-level key on its own. So only what the patch touches can
// fail to read, given a base that was itself read from JSON (the round-trip property test holds
// the codings to that). This check walks the patch key by key, merges each touched field or
// record with exactly the merge that the look would use, and reads back that part alone:
//
// - a plain field (`appName`, `theme`, ...) is written from the base, merged and read back;
// - a keyed list under an object is walked as the merge by id walks it: records the patch names
//   are merged and read, records it adds are read, the rest keep their ids;
// - a list replaced whole, and anything else, is read as it stands.
//
// Then the ids of the three keyed lists must be unique, as `applying` demands. Nothing is
// written or read for the records that the patch leaves alone, which for a look of a large set is
// nearly all of them.
#include "kit/lint/variant_check.h"

#include "kit/model/codings.h"
#include "kit/model/json_value.h"
#include "kit/model/project.h"

#include <nlohmann/json.hpp>

#include <exception>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vorno {
namespace {

template <class T>
bool reads(const Json& value) {
  try {
    (void)Reader(value).decode<T>();
    return true;
  } catch (const DecodingError&) {
    return false;
  }
}

template <class T>
std::optional<T> readBack(const Json& value) {
  try {
    return Reader(value).decode<T>();
  } catch (const DecodingError&) {
    return std::nullopt;
  }
}

const std::string& idOf(const Slide& slide) { return slide.id; }
const std::string& idOf(const Spread& spread) { return spread.id; }
const std::string& idOf(const Creative& creative) { return creative.id(); }

/// A plain top-level field after the patch's `entry` for it: false when it doesn't read back, or
/// when a required field is removed. `written` is the base's JSON of the field, absent when the
/// base leaves the key out.
template <class T>
bool fieldReads(const std::string& key, const std::optional<Json>& written, const Json& entry, bool required) {
  Json base = Json::object();
  if (written) base[key] = *written;
  Json change = Json::object();
  change[key] = entry;
  // The same merge as the whole look's, on a document of this one key: keys merge independently.
  Json result = merged(base, change);
  auto field = result.find(key);
  if (field == result.end() || field->is_null()) return !required;
  return reads<T>(*field);
}

/// The ids of a keyed list after the patch's `entry` for it (null: untouched), or nothing when
/// the list would not read. `alwaysWritten` says whether the base writes the key when the list is
/// empty; `required` whether the project's reader insists on it.
template <class Record>
std::optional<std::vector<std::string>> idsAfter(const std::vector<Record>& records, const Json* entry,
                                                 bool alwaysWritten, bool required) {
  std::vector<std::string> ids;
  if (entry == nullptr) {
    for (const Record& record : records) ids.push_back(idOf(record));
    return ids;
  }
  if (entry->is_null()) {
    if (required) return std::nullopt;
    return ids;
  }
  if (entry->is_array()) {
    std::optional<std::vector<Record>> replaced = readBack<std::vector<Record>>(*entry);
    if (!replaced) return std::nullopt;
    for (const Record& record : *replaced) ids.push_back(idOf(record));
    return ids;
  }
  // An object over a key that the base leaves out replaces nothing and is read as a list, which
  // it is not; anything else that isn't an object is no list either.
  if (!entry->is_object() || (records.empty() && !alwaysWritten)) return std::nullopt;

  // As `mergeByID`: every record the patch names is merged (or removed), the others stay, and
  // entries for new ids follow in key order, each an object with its key as id.
  std::set<std::string, std::less<>> seen;
  for (const Record& record : records) {
    const std::string& id = idOf(record);
    auto change = entry->find(id);
    if (change == entry->end()) {
      ids.push_back(id);
      continue;
    }
    seen.insert(id);
    if (change->is_null()) continue;
    std::optional<Record> result = readBack<Record>(merged(Coding<Record>::write(record), *change));
    if (!result) return std::nullopt;
    ids.push_back(idOf(*result));
  }
  for (auto it = entry->begin(); it != entry->end(); ++it) {
    if (seen.contains(it.key()) || !it.value().is_object()) continue;
    Json added = it.value();
    added["id"] = it.key();
    std::optional<Record> result = readBack<Record>(added);
    if (!result) return std::nullopt;
    ids.push_back(idOf(*result));
  }
  return ids;
}

bool unique(const std::vector<std::string>& ids) {
  std::set<std::string_view> seen;
  for (const std::string& id : ids)
    if (!seen.insert(id).second) return false;
  return true;
}

const Json* entryFor(const Json& patch, const char* key) {
  auto it = patch.find(key);
  return it == patch.end() ? nullptr : &*it;
}

bool check(const Project& base, const Json& patch) {
  // A patch that isn't an object replaces the whole document, which then isn't one.
  if (!patch.is_object()) return false;

  // The fields the project's reader reads, other than the keyed lists. The look leaves
  // `variants` out, so the base has none to merge into.
  if (const Json* entry = entryFor(patch, "schemaVersion");
      entry && !fieldReads<int>("schemaVersion", Coding<int>::write(base.schemaVersion), *entry, true))
    return false;
  if (const Json* entry = entryFor(patch, "appName");
      entry && !fieldReads<std::string>("appName", Coding<std::string>::write(base.appName), *entry, true))
    return false;
  if (const Json* entry = entryFor(patch, "locales");
      entry && !fieldReads<std::vector<std::string>>(
                   "locales", Coding<std::vector<std::string>>::write(base.locales), *entry, true))
    return false;
  if (const Json* entry = entryFor(patch, "targets");
      entry && !fieldReads<std::vector<std::string>>(
                   "targets", Coding<std::vector<std::string>>::write(base.targets), *entry, true))
    return false;
  if (const Json* entry = entryFor(patch, "theme");
      entry && !fieldReads<Theme>("theme", Coding<Theme>::write(base.theme), *entry, true))
    return false;
  if (const Json* entry = entryFor(patch, "variants");
      entry && !fieldReads<std::vector<Variant>>("variants", std::nullopt, *entry, false))
    return false;

  // The base always writes `slides`, and writes `spreads` and `creatives` only when they hold
  // something.
  auto slides = idsAfter(base.slides, entryFor(patch, "slides"), true, true);
  if (!slides || !unique(*slides)) return false;
  auto spreads = idsAfter(base.spreads, entryFor(patch, "spreads"), false, false);
  if (!spreads || !unique(*spreads)) return false;
  auto creatives = idsAfter(base.creatives, entryFor(patch, "creatives"), false, false);
  return creatives && unique(*creatives);
}

}  // namespace

bool VariantCheck::applies(const Project& base, const Variant& variant) {
  try {
    return check(base, variant.patch.json());
  } catch (const std::exception&) {
    // Whatever else went wrong, the full application will say it.
    return false;
  }
}

}  // namespace vorno
