// The patch language of looks: merging a patch into a JSON value, computing the patch between two
// values, the three-way merge of concurrent edits, and walking values along paths.
//
// A patch is a JSON value laid over a document. An object merges into an object field by field,
// `null` removes a field and anything else replaces. Under the keys named in `keyedArrays()` an
// object is matched by id against an array of records, so a look can touch one slide without
// repeating the others:
//
//   Json base = parseJSON(R"({"slides": [{"id": "a", "inverted": false}, {"id": "b"}]})");
//   Json look = merged(base, parseJSON(R"({"slides": {"a": {"inverted": true}, "b": null}})"));
//   // look is {"slides": [{"id": "a", "inverted": true}]}
//   patch(base, look);  // gives that patch back
//
// Paths name places in a document as parts: a part walks an object by key and an array of
// records by the record's `id`. Field paths of texts are those parts joined by "/", such as
// "slides/week/elements/title/text".
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

using Json = nlohmann::json;
using KeySet = std::set<std::string, std::less<>>;
using JSONPath = std::vector<std::string>;

/// The keys that hold arrays of records with an `id`, wherever they stand in a document:
/// slides, spreads, creatives and elements.
const KeySet& keyedArrays();

/// `value` with `patch` applied. A patch that is not an object replaces the value.
Json merged(const Json& value, const Json& patch, const KeySet& keyed = keyedArrays());

/// An array of records with a keyed patch applied: entries merge into the record of their id,
/// `null` drops it, new ids are appended in sorted order. The order of the others never changes.
Json mergeByID(const Json& array, const Json& patch, const KeySet& keyed = keyedArrays());

/// The patch that turns `from` into `to`; nothing when they are equal.
std::optional<Json> patch(const Json& from, const Json& to, const KeySet& keyed = keyedArrays());

/// The keyed form of the change between two arrays of records, or nothing when the change can't
/// be said by id (no arrays, records without unique string ids, reordered or inserted records):
/// the caller then replaces the whole array. An empty object means no change.
std::optional<Json> keyedPatch(const Json& oldArray, const Json& newArray, const KeySet& keyed = keyedArrays());

/// Settles one value edited on two sides since `base`. Each side may be absent: the key does not
/// exist there. Where both changed, theirs wins, except that objects and keyed arrays are
/// settled member by member. Nothing means the key goes.
std::optional<Json> merge3(const std::optional<Json>& base, const std::optional<Json>& ours,
                           const std::optional<Json>& theirs, const std::optional<std::string>& key = std::nullopt,
                           const KeySet& keyed = keyedArrays());

/// Three arrays of records merged record by record, or nothing when a present side is not an
/// array of records with unique string ids: the caller then takes theirs whole.
std::optional<Json> mergeKeyed(const std::optional<Json>& base, const std::optional<Json>& ours,
                               const std::optional<Json>& theirs, const KeySet& keyed = keyedArrays());

/// "slides/week/headline" as its parts; empty parts are skipped.
JSONPath splitPath(std::string_view path);
/// The parts joined by "/".
std::string joinPath(const JSONPath& parts);

/// The value at `path`, or null when the path leads nowhere. The result points into `value`.
const Json* valueAt(const Json& value, const JSONPath& path);

/// `value` with `newValue` written at `path`. Missing object keys are created on the way (a
/// plain value in the way becomes an object), and a missing record is appended with its id.
/// A null `newValue` removes the key or record instead, as it does in a patch.
Json setting(const Json& value, const Json& newValue, const JSONPath& path);

/// Whether the patch decides the value at `path`: the walk through its objects runs out of path,
/// or meets a value that is not an object (it replaces everything below). A missing key means
/// the patch leaves the place to the base.
bool covers(const Json& patch, const JSONPath& path);

/// Whether the walk through the patch meets an array before `path` ends: the array replaced a
/// whole list, so the place has no field of its own in the patch.
bool isLocked(const Json& patch, const JSONPath& path);

/// Whether `path` names a localised text: slides, spreads or creatives, an id, then `eyebrow`,
/// `headline` or `subhead`, or `elements`, an id and `text`, or `component` with `title` or
/// `subtitle`.
bool isTextField(const JSONPath& path);

/// The field paths of the texts that `patch` sets, in key order; `path` is where the patch
/// stands in the document (empty for a project's patch).
std::vector<std::string> textFields(const Json& patch, const JSONPath& path = {});

}  // namespace vorno
