// The activity log: `.activity.jsonl` in a package, one event per line, that a person's app tails
// to watch what an agent does. A side channel: appending never fails the work.
#pragma once

#include "kit/model/enum_names.h"

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

using Json = nlohmann::json;

struct ActivityEvent {
  enum class Phase { started, finished, failed };

  /// The fixed summary of a side-by-side comparison of looks.
  static constexpr std::string_view comparedLooks = "Compared the looks";

  std::string id;  ///< shared by both events of one tool call
  double time = 0;  ///< seconds since 1970
  std::string agent;
  std::string tool;
  Phase phase = Phase::started;
  std::string summary;
  std::optional<std::string> slide;
  std::optional<std::string> target;
  std::optional<std::string> locale;
  std::optional<std::string> error;

  /// The current time as seconds since 1970, for `time`.
  static double now();

  bool operator==(const ActivityEvent&) const = default;
};

template <>
struct EnumNames<ActivityEvent::Phase> {
  static constexpr std::string_view typeName = "Phase";
  static constexpr std::array<std::string_view, 3> names = {"started", "finished", "failed"};
};

/// The first six fields always, the optional ones when present; `time` a JSON number.
Json encodeActivityEvent(const ActivityEvent& event);
/// Throws DecodingError when a required field is missing or of the wrong type.
ActivityEvent decodeActivityEvent(const Json& json);

class ActivityLog {
 public:
  /// Files whose size passes this many bytes are cut to their last `keptLines` lines.
  static constexpr uint64_t compactionThreshold = 262144;
  static constexpr size_t keptLines = 200;

  /// The log of the package at `root`.
  explicit ActivityLog(const std::filesystem::path& root);

  const std::filesystem::path& url() const { return url_; }

  /// Adds one line. Does nothing when the folder is not a package (no project.json) or the log is
  /// not a regular file (a link, a pipe); every failure is swallowed.
  void append(const ActivityEvent& event) const;

  struct Batch {
    std::vector<ActivityEvent> events;
    uint64_t offset = 0;  ///< where the next read starts
  };

  /// The whole events after `offset`, and the offset after the last whole line. A file shorter
  /// than `offset` was compacted, and is read from the start.
  Batch read(uint64_t offset) const;

 private:
  void compactIfNeeded() const;

  std::filesystem::path url_;
};

}  // namespace vorno
