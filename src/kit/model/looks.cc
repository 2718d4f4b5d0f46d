#include "kit/model/looks.h"

#include "kit/model/codings.h"
#include "kit/model/json_value.h"
#include "kit/model/project_json.h"
#include "kit/model/variants.h"
#include "kit/model/text_markup.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <set>
#include <utility>

namespace vorno {
namespace {

// The free elements of the record that a field path starts with, or null when the base has no
// such slide, spread or creative.
const std::vector<SlideElement>* elementsOf(const Project& project, const JSONPath& parts) {
  if (parts.size() < 2) return nullptr;
  if (parts[0] == "slides") {
    const Slide* s = project.slide(parts[1]);
    return s ? &s->elements : nullptr;
  }
  if (parts[0] == "spreads") {
    const Spread* s = project.spread(parts[1]);
    return s ? &s->elements : nullptr;
  }
  if (parts[0] == "creatives") {
    const Creative* c = project.creative(parts[1]);
    return c ? &c->slide.elements : nullptr;
  }
  return nullptr;
}

const SlideElement* elementIn(const std::vector<SlideElement>& elements, std::string_view id) {
  for (const SlideElement& e : elements)
    if (e.id == id) return &e;
  return nullptr;
}

// Whether the record (and the element) that a field path names exists in the project.
bool hasCounterpart(const Project& project, const JSONPath& parts) {
  const std::vector<SlideElement>* elements = elementsOf(project, parts);
  if (elements == nullptr) return false;
  if (parts.size() >= 4 && parts[2] == "elements") return elementIn(*elements, parts[3]) != nullptr;
  return true;
}

// Drops the objects that a removal left empty, from the deepest up; the patch itself stays.
Json pruned(Json patch, const JSONPath& path) {
  for (size_t length = path.size(); length > 1; --length) {
    JSONPath prefix(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(length - 1));
    const Json* parent = valueAt(patch, prefix);
    if (parent == nullptr || !parent->is_object() || !parent->empty()) break;
    patch = setting(patch, nullptr, prefix);
  }
  return patch;
}

std::string plainLine(const std::string& text) {
  std::string plain = TextMarkup::plain(text);
  // The outline gives one line a slide, so a break in a headline reads as a blank.
  std::replace(plain.begin(), plain.end(), '\n', ' ');
  return plain;
}

std::optional<std::string> resolvedText(const std::optional<LocalizedText>& text, std::string_view locale) {
  if (!text) return std::nullopt;
  auto value = text->resolve(locale);
  if (!value) return std::nullopt;
  std::string plain = plainLine(*value);
  if (plain.empty()) return std::nullopt;
  return plain;
}

// Describing a look. Each record list is compared between the base and the look, so a patch
// that replaced a whole list is described by what really changed in it.

struct RecordList {
  std::vector<std::string> ids;
  std::map<std::string, const Json*, std::less<>> byID;
};

std::optional<RecordList> recordList(const Json* value) {
  RecordList out;
  if (value == nullptr) return out;
  if (!value->is_array()) return std::nullopt;
  for (const Json& record : *value) {
    auto id = record.is_object() ? record.find("id") : record.end();
    if (!record.is_object() || id == record.end() || !id->is_string()) return std::nullopt;
    const std::string& key = id->get_ref<const std::string&>();
    if (out.byID.emplace(key, &record).second) out.ids.push_back(key);
  }
  return out;
}

const Json* memberOf(const Json& object, const std::string& key) {
  auto it = object.find(key);
  return it == object.end() ? nullptr : &*it;
}

bool sameMember(const Json& a, const Json& b, const std::string& key) {
  const Json* x = memberOf(a, key);
  const Json* y = memberOf(b, key);
  if (x == nullptr || y == nullptr) return x == y;
  return *x == *y;
}

// Words for the fields of a slide or spread, in the order a list shows them.
constexpr std::array<std::pair<std::string_view, std::string_view>, 15> fieldWords{{
    {"eyebrow", "eyebrow"},
    {"headline", "headline"},
    {"subhead", "subhead"},
    {"archetype", "layout"},
    {"device", "device"},
    {"background", "background"},
    {"inverted", "inverted colors"},
    {"textColors", "text colors"},
    {"textStyles", "text styles"},
    {"emphasisStyle", "emphasis"},
    {"accent", "accent color"},
    {"overrides", "placements"},
    {"elements", "elements"},
    {"slides", "members"},
    {"canvas", "canvas"},
}};

size_t fieldRank(const std::string& key) {
  for (size_t i = 0; i < fieldWords.size(); ++i)
    if (fieldWords[i].first == key) return i;
  return fieldWords.size();
}

std::string fieldWord(const std::string& key) {
  size_t rank = fieldRank(key);
  return rank < fieldWords.size() ? std::string(fieldWords[rank].second) : key;
}

std::string counted(size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

struct RecordChanges {
  std::vector<std::string> phrases;
  bool addsElements = false;
  bool removesElements = false;
};

void describeRecords(const Json* before, const Json* after, const std::string& noun, const std::string& locale,
                     RecordChanges& out) {
  auto old = recordList(before);
  auto now = recordList(after);
  if (!old || !now) {
    out.phrases.push_back(noun + "s");
    return;
  }
  std::vector<std::string> oldOrder, newOrder;
  for (const std::string& id : old->ids)
    if (now->byID.count(id) > 0) oldOrder.push_back(id);
  for (const std::string& id : now->ids)
    if (old->byID.count(id) > 0) newOrder.push_back(id);
  if (oldOrder != newOrder) out.phrases.push_back(noun + " order");
  size_t added = now->ids.size() - newOrder.size();
  size_t removed = old->ids.size() - oldOrder.size();
  if (added > 0) out.phrases.push_back("adds " + counted(added, noun));
  if (removed > 0) out.phrases.push_back("removes " + counted(removed, noun));

  // Field by field: which records (by position in the look) changed it.
  std::map<std::string, std::vector<size_t>> touched;
  for (size_t position = 0; position < now->ids.size(); ++position) {
    const std::string& id = now->ids[position];
    auto was = old->byID.find(id);
    if (was == old->byID.end()) continue;
    const Json& a = *was->second;
    const Json& b = *now->byID.at(id);
    std::set<std::string> keys;
    for (auto it = a.begin(); it != a.end(); ++it) keys.insert(it.key());
    for (auto it = b.begin(); it != b.end(); ++it) keys.insert(it.key());
    for (const std::string& key : keys) {
      if (key == "id" || sameMember(a, b, key)) continue;
      if (key == "elements") {
        auto oldElements = recordList(memberOf(a, key));
        auto newElements = recordList(memberOf(b, key));
        if (oldElements && newElements) {
          bool changedInPlace = false;
          for (const std::string& e : newElements->ids) {
            auto previous = oldElements->byID.find(e);
            if (previous == oldElements->byID.end()) out.addsElements = true;
            else if (*previous->second != *newElements->byID.at(e)) changedInPlace = true;
          }
          for (const std::string& e : oldElements->ids)
            if (newElements->byID.count(e) == 0) out.removesElements = true;
          if (!changedInPlace) continue;
        }
      }
      touched[key].push_back(position + 1);
    }
  }

  std::vector<std::string> keys;
  for (const auto& [key, unused] : touched) keys.push_back(key);
  std::stable_sort(keys.begin(), keys.end(),
                   [](const std::string& a, const std::string& b) { return fieldRank(a) < fieldRank(b); });
  for (const std::string& key : keys) {
    const std::vector<size_t>& positions = touched[key];
    std::string phrase = fieldWord(key) + " on " + noun;
    if (positions.size() == 1) {
      phrase += " " + std::to_string(positions[0]);
      // One changed text gets its length, the first thing a copywriter asks about.
      bool isText = key == "eyebrow" || key == "headline" || key == "subhead";
      const Json* text = isText ? memberOf(*now->byID.at(now->ids[positions[0] - 1]), key) : nullptr;
      if (text != nullptr) {
        try {
          auto value = Reader(*text).decode<LocalizedText>().resolve(locale);
          if (value) phrase += " (" + counted(static_cast<size_t>(words(*value)), "word") + ")";
        } catch (const DecodingError&) {
        }
      }
    } else {
      phrase += "s";
      for (size_t i = 0; i < positions.size(); ++i) phrase += (i == 0 ? " " : ", ") + std::to_string(positions[i]);
    }
    out.phrases.push_back(phrase);
  }
}

}  // namespace

bool TextOwnership::owns(std::string_view fieldPath) const {
  auto claim = claims.find(std::string(fieldPath));
  if (claim != claims.end()) return claim->second;
  return covers(patch.json(), splitPath(fieldPath));
}

bool TextOwnership::isLocked(std::string_view fieldPath) const {
  return vorno::isLocked(patch.json(), splitPath(fieldPath));
}

std::string treatmentName(size_t index) {
  // The store runs at most three treatments against the original at a time.
  if (index < 3) return "Treatment " + std::to_string(index + 1);
  return "Extra";
}

int words(std::string_view text) {
  std::string plain = TextMarkup::plain(text);
  int count = 0;
  bool inWord = false;
  for (char c : plain) {
    bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
    if (!blank && !inWord) ++count;
    inWord = !blank;
  }
  return count;
}

std::optional<LocalizedText> Project::text(std::string_view fieldPath) const {
  JSONPath parts = splitPath(fieldPath);
  if (!isTextField(parts)) return std::nullopt;
  if (parts.size() == 3) {
    const Slide* s = nullptr;
    if (parts[0] == "slides") s = slide(parts[1]);
    else if (const Creative* c = parts[0] == "creatives" ? creative(parts[1]) : nullptr) s = &c->slide;
    if (s == nullptr) return std::nullopt;
    if (parts[2] == "eyebrow") return s->eyebrow;
    if (parts[2] == "subhead") return s->subhead;
    // A creative without words has an empty headline, which is no text at all.
    if (s->headline.isEmpty() && parts[0] == "creatives") return std::nullopt;
    return s->headline;
  }
  const std::vector<SlideElement>* elements = elementsOf(*this, parts);
  const SlideElement* element = elements ? elementIn(*elements, parts[3]) : nullptr;
  if (element == nullptr) return std::nullopt;
  if (parts.size() == 5) return element->text;
  if (!element->component) return std::nullopt;
  return parts[5] == "title" ? element->component->title : element->component->subtitle;
}

std::string Project::textField(std::string_view owner, std::string_view ownerID,
                               const std::optional<std::string>& element, std::string_view field) {
  std::string path = std::string(owner) + "/" + std::string(ownerID);
  if (element) path += "/elements/" + *element;
  return path + "/" + std::string(field);
}

LookTextScope Project::textScope(std::string_view fieldPath, const TextOwnership& ownership) const {
  if (ownership.isLocked(fieldPath)) return LookTextScope::locked;
  if (!hasCounterpart(*this, splitPath(fieldPath))) return LookTextScope::onlyHere;
  if (ownership.owns(fieldPath)) return LookTextScope::own;
  return LookTextScope::shared;
}

Project Project::savingLook(const std::string& id, const Project& look, const TextOwnership* ownership) const {
  Json unsplit = patchFrom(look).json();
  Project result = *this;
  Json stored = unsplit;

  if (ownership != nullptr) {
    // Texts the look does not own leave the patch, and their new words go to the base.
    Json base = lookJSON(*this);
    Json lookDocument = lookJSON(look);
    Json split = unsplit;
    bool moved = false;
    for (const std::string& field : textFields(unsplit)) {
      if (ownership->owns(field)) continue;
      JSONPath parts = splitPath(field);
      // A text of an element that only the look has has no place in the base.
      if (!hasCounterpart(*this, parts)) continue;
      const Json* words = valueAt(lookDocument, parts);
      base = setting(base, words ? *words : Json(nullptr), parts);
      split = pruned(setting(split, nullptr, parts), parts);
      moved = true;
    }
    if (moved) {
      // The split must reproduce the look; when it can't (the words don't decode in the base,
      // say), the whole patch stays with the look and the base is left alone.
      try {
        Project newBase = decodeProject(base);
        newBase.variants = variants;
        Project wanted = look;
        wanted.variants.clear();
        if (newBase.applying(Variant{id, std::nullopt, split}) == wanted) {
          result = std::move(newBase);
          stored = std::move(split);
        }
      } catch (const DecodingError&) {
      } catch (const VornoError&) {
      }
    }
  }

  // Other looks keep their patches: they cover exactly the texts they own, so over the changed
  // base they follow the shared words and keep their own.
  if (Variant* existing = result.variant(id)) existing->patch = std::move(stored);
  else result.variants.push_back(Variant{id, std::nullopt, std::move(stored)});
  return result;
}

std::vector<std::string> Project::changes(std::string_view variantID) const {
  const Variant* found = variant(variantID);
  if (found == nullptr) throw noVariant(variantID, *this);
  const Json& patchValue = found->patch.json();
  if (!patchValue.is_object()) return {"the whole document"};

  Json base = lookJSON(*this);
  Json look = merged(base, patchValue);
  std::string locale = locales.empty() ? "en-US" : locales.front();
  if (auto lookLocales = look.find("locales"); lookLocales != look.end() && lookLocales->is_array() &&
                                               !lookLocales->empty() && lookLocales->front().is_string())
    locale = lookLocales->front().get<std::string>();

  static const std::array<std::string_view, 7> order{"theme",   "slides",  "spreads", "creatives",
                                                     "appName", "locales", "targets"};
  std::vector<std::string> keys(order.begin(), order.end());
  for (auto it = patchValue.begin(); it != patchValue.end(); ++it)
    if (std::find(order.begin(), order.end(), it.key()) == order.end()) keys.push_back(it.key());

  std::vector<std::string> phrases;
  RecordChanges records;
  for (const std::string& key : keys) {
    if (!patchValue.contains(key) || sameMember(base, look, key)) continue;
    if (key == "theme") phrases.push_back("theme");
    else if (key == "creatives") phrases.push_back("store art");
    else if (key == "appName") phrases.push_back("app name");
    else if (key == "locales") phrases.push_back("locales");
    else if (key == "targets") phrases.push_back("store targets");
    else if (key == "slides" || key == "spreads") {
      RecordChanges some;
      describeRecords(memberOf(base, key), memberOf(look, key), key == "slides" ? "slide" : "spread", locale, some);
      phrases.insert(phrases.end(), some.phrases.begin(), some.phrases.end());
      records.addsElements = records.addsElements || some.addsElements;
      records.removesElements = records.removesElements || some.removesElements;
    } else {
      phrases.push_back(key);
    }
  }
  if (records.addsElements) phrases.push_back("adds elements");
  if (records.removesElements) phrases.push_back("removes elements");
  return phrases;
}

Project Project::wordsOnly() const {
  Project copy = *this;
  auto keepWords = [](std::vector<SlideElement>& elements) {
    std::erase_if(elements, [](const SlideElement& e) {
      return e.kind == SlideElement::Kind::image || e.kind == SlideElement::Kind::device;
    });
  };
  for (Slide& s : copy.slides) {
    s.device.reset();
    keepWords(s.elements);
  }
  for (Spread& s : copy.spreads) keepWords(s.elements);
  return copy;
}

std::vector<std::string> Project::storyOutline(const std::string& locale) const {
  std::vector<std::string> lines;
  for (size_t i = 0; i < slides.size(); ++i) {
    const Slide& s = slides[i];
    std::string line = std::to_string(i + 1) + ". ";
    if (auto eyebrow = resolvedText(s.eyebrow, locale)) line += *eyebrow + " \u2014 ";
    line += resolvedText(s.headline, locale).value_or("(no headline)");
    if (auto subhead = resolvedText(s.subhead, locale)) line += " \u2014 " + *subhead;
    lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace vorno
