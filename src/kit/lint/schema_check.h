// SchemaCheck: finds the keys of a raw project.json (or a slide, spread, creative, theme or patch
// given to a tool) that the readers would silently ignore, and names the field most like each.
//
//   auto findings = SchemaCheck::slide(parseJSON(R"({"headlin": "Plan"})"));
//   findings[0].message();
//   // "headlin isn't a field Vorno knows, so it was ignored. Did you mean headline?"
//
// Only keys are checked, never values: a wrong value is the reader's business. The shapes are
// built once, never change, and may be used from many threads at once.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/model/issue.h"

namespace vorno {

using Json = nlohmann::json;

class SchemaCheck {
 public:
  SchemaCheck() = delete;

  /// A recursive description of a JSON value: which keys a record's reader knows, and what lies
  /// below each. Copies share their children, so passing shapes around is cheap.
  class Shape {
   public:
    enum class Kind {
      object,  ///< a record; its keys are every key its reader knows
      map,     ///< an object with free keys (ids, target ids, locales), each value of one shape
      array,   ///< each element of one shape
      keyed,   ///< an array of records with ids or, in a patch, an object keyed by id
      any,     ///< not looked into
      fill     ///< a Fill in one of its forms
    };

    static Shape object(std::string label, std::map<std::string, Shape> fields);
    static Shape map(Shape item);
    static Shape array(Shape item);
    static Shape keyed(Shape item);
    static Shape any();
    static Shape fill();

    Kind kind() const { return kind_; }
    /// The record's name for people; empty unless an object.
    const std::string& label() const { return label_; }
    /// The shape of a known key of an object, or null when the key is unknown or this is no object.
    const Shape* field(std::string_view key) const;
    /// The known keys of an object, sorted; empty for the other kinds.
    std::vector<std::string> keys() const;
    /// The shape of the values of a map, array or keyed array; null for the other kinds.
    const Shape* item() const { return item_.get(); }

    // The records of the document.
    static const Shape& crop();
    static const Shape& mark();
    static const Shape& effect();
    static const Shape& shadowStyle();
    static const Shape& placement();
    static const Shape& override();
    static const Shape& component();
    static const Shape& element();
    static const Shape& device();
    static const Shape& look();
    static const Shape& slide();
    static const Shape& spread();
    static const Shape& theme();
    static const Shape& textStyle();
    static const Shape& variant();
    static const Shape& project();
    static const Shape& creative();
    // The records of a creative's motion.
    static const Shape& keyframe();
    static const Shape& wave();
    static const Shape& motion();
    static const Shape& scene();
    static const Shape& transition();

   private:
    explicit Shape(Kind kind) : kind_(kind) {}

    Kind kind_;
    std::string label_;
    std::shared_ptr<const std::map<std::string, Shape>> fields_;
    std::shared_ptr<const Shape> item_;
  };

  /// One key that the readers would ignore.
  struct Finding {
    std::string path;  ///< where the parent sits, e.g. `elements["logo"].style`; empty at the top
    std::string key;   ///< the unknown key
    std::optional<std::string> suggestion;

    bool operator==(const Finding&) const = default;

    /// The path and key joined by ".", or the key alone at the top.
    std::string field() const;
    /// "<field> isn't a field Vorno knows, so it was ignored. Did you mean <suggestion>?"
    std::string message() const;
    /// A `schema.unknown` warning with that message, about `slide` when one is given.
    Issue issue(std::optional<std::string> slide = std::nullopt) const;
  };

  /// One keyed form of a fill: the key that selects it and every key it accepts.
  struct FillKind {
    std::string key;
    std::vector<std::string> keys;
  };

  /// `linear`, `radial`, `image`, in the order in which an object is matched against them.
  static const std::vector<FillKind>& fillKinds();
  /// The suggestion for an object that is no form of fill at all.
  static const std::string& fillSuggestion();
  /// Keys from other design vocabularies and what to use here; preferred over near spellings.
  static const std::map<std::string, std::string>& aliases();

  /// Walks `value` against `shape`. In patch mode a null under a known key is a removal and is
  /// skipped, and keyed arrays may be objects keyed by id.
  static std::vector<Finding> check(const Json& value, const Shape& shape, const std::string& path = "",
                                    bool patch = false);

  static std::vector<Finding> slide(const Json& value);
  static std::vector<Finding> creative(const Json& value);
  static std::vector<Finding> spread(const Json& value);
  static std::vector<Finding> theme(const Json& value);
  /// A look's patch over the whole project.
  static std::vector<Finding> patch(const Json& value);
  /// A whole project, with the patch of every variant.
  static std::vector<Finding> project(const Json& value);
  /// Reads and checks a project.json. A file that can't be read or parsed gives no findings: the
  /// store reports those problems itself.
  static std::vector<Finding> projectFile(const std::filesystem::path& path);

  /// The candidate most like `key`, compared without case by optimal string alignment distance,
  /// within a limit that grows with the key's length; ties go to the first in string order.
  static std::optional<std::string> nearest(std::string_view key, const std::vector<std::string>& candidates);
  /// Insertions, deletions, substitutions and swaps of two neighbours, over characters.
  static size_t distance(std::string_view a, std::string_view b);
};

}  // namespace vorno
