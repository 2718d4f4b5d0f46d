#include "kit/model/project.h"

#include "kit/model/codings.h"
#include "kit/model/store_target.h"

#include <algorithm>
#include <map>

namespace vorno {
namespace {

template <class T, class Key>
T* findFirst(std::vector<T>& items, std::string_view id, Key key) {
  auto it = std::find_if(items.begin(), items.end(), [&](const T& item) { return key(item) == id; });
  return it == items.end() ? nullptr : &*it;
}

const std::string& slideID(const Slide& s) { return s.id; }
const std::string& spreadID(const Spread& s) { return s.id; }
const std::string& creativeID(const Creative& c) { return c.id(); }
const std::string& variantID(const Variant& v) { return v.id; }

}  // namespace

Project::Project(std::string appName, std::vector<std::string> locales, std::vector<std::string> targets, Theme theme,
                 std::vector<Slide> slides, std::vector<Spread> spreads)
    : appName(std::move(appName)),
      locales(std::move(locales)),
      targets(std::move(targets)),
      theme(std::move(theme)),
      slides(std::move(slides)),
      spreads(std::move(spreads)) {}

Slide* Project::slide(std::string_view id) { return findFirst(slides, id, slideID); }
const Slide* Project::slide(std::string_view id) const { return const_cast<Project*>(this)->slide(id); }

Spread* Project::spread(std::string_view id) { return findFirst(spreads, id, spreadID); }
const Spread* Project::spread(std::string_view id) const { return const_cast<Project*>(this)->spread(id); }

const Spread* Project::spreadContaining(std::string_view slideID) const {
  for (const Spread& s : spreads)
    if (std::find(s.slides.begin(), s.slides.end(), slideID) != s.slides.end()) return &s;
  return nullptr;
}

Creative* Project::creative(std::string_view id) { return findFirst(creatives, id, creativeID); }
const Creative* Project::creative(std::string_view id) const { return const_cast<Project*>(this)->creative(id); }

const Slide* Project::board(std::string_view id) const {
  if (const Slide* s = slide(id)) return s;
  if (const Creative* c = creative(id)) return &c->slide;
  return nullptr;
}

const StoreTarget* Project::canvasOf(std::string_view id) const {
  const Creative* c = creative(id);
  return c ? c->target() : nullptr;
}

Variant* Project::variant(std::string_view id) { return findFirst(variants, id, variantID); }
const Variant* Project::variant(std::string_view id) const { return const_cast<Project*>(this)->variant(id); }

void Project::upsert(const Slide& s) {
  if (Slide* existing = slide(s.id)) *existing = s;
  else slides.push_back(s);
}

void Project::upsert(const Creative& c) {
  if (Creative* existing = creative(c.id())) *existing = c;
  else creatives.push_back(c);
}

bool Project::modifyBoard(std::string_view id, const std::function<void(Slide&)>& mutate) {
  if (Slide* s = slide(id)) {
    mutate(*s);
    return true;
  }
  if (Creative* c = creative(id)) {
    mutate(c->slide);
    return true;
  }
  return false;
}

void Project::repairSpreads() {
  // The first slide of an id wins, as in every lookup by id.
  std::map<std::string, size_t, std::less<>> indexOf;
  for (size_t i = 0; i < slides.size(); ++i) indexOf.emplace(slides[i].id, i);

  std::vector<Spread> kept;
  for (Spread& spread : spreads) {
    std::vector<std::pair<size_t, std::string>> members;
    for (const std::string& id : spread.slides)
      if (auto it = indexOf.find(id); it != indexOf.end()) members.emplace_back(it->second, id);
    std::stable_sort(members.begin(), members.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    if (members.size() < 2) continue;
    bool adjacent = true;
    for (size_t i = 1; i < members.size(); ++i)
      if (members[i].first != members[i - 1].first + 1) adjacent = false;
    if (!adjacent) continue;
    spread.slides.clear();
    for (auto& member : members) spread.slides.push_back(std::move(member.second));
    kept.push_back(std::move(spread));
  }
  spreads = std::move(kept);
}

// JSON form of the whole document.

Project Coding<Project>::read(const Reader& r) {
  Project p;
  p.schemaVersion = r.get<int>("schemaVersion");
  p.appName = r.get<std::string>("appName");
  p.locales = r.get<std::vector<std::string>>("locales");
  p.targets = r.get<std::vector<std::string>>("targets");
  p.theme = r.get<Theme>("theme");
  p.slides = r.get<std::vector<Slide>>("slides");
  p.spreads = r.getOr<std::vector<Spread>>("spreads", {});
  p.variants = r.getOr<std::vector<Variant>>("variants", {});
  p.creatives = r.getOr<std::vector<Creative>>("creatives", {});
  return p;
}

Json Coding<Project>::write(const Project& p) {
  return ObjectWriter()
      .put("schemaVersion", p.schemaVersion)
      .put("appName", p.appName)
      .put("locales", p.locales)
      .put("targets", p.targets)
      .put("theme", p.theme)
      .put("slides", p.slides)
      .putIfNotEmpty("spreads", p.spreads)
      .putIfNotEmpty("variants", p.variants)
      .putIfNotEmpty("creatives", p.creatives)
      .done();
}

}  // namespace vorno
