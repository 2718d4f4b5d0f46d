#include "tests/ffprobe.h"

#include "tests/run_process.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace vorno::testing {

namespace {

// ffprobe writes numbers as strings ("5.000000", "150") and leaves out what it doesn't know.
double number(const nlohmann::json& object, const char* key) {
  auto found = object.find(key);
  if (found == object.end()) return 0;
  if (found->is_number()) return found->get<double>();
  if (found->is_string()) return std::strtod(found->get<std::string>().c_str(), nullptr);
  return 0;
}

std::string text(const nlohmann::json& object, const char* key) {
  auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

double rate(const std::string& fraction) {
  size_t slash = fraction.find('/');
  if (slash == std::string::npos) return std::strtod(fraction.c_str(), nullptr);
  double den = std::strtod(fraction.c_str() + slash + 1, nullptr);
  return den > 0 ? std::strtod(fraction.c_str(), nullptr) / den : 0;
}

uint64_t bigEndian(const unsigned char* bytes, int count) {
  uint64_t value = 0;
  for (int i = 0; i < count; ++i) value = value << 8 | bytes[i];
  return value;
}

}  // namespace

double VideoProbe::longestKeyFrameGap() const {
  if (keyFrameTimes.empty()) return duration;
  double longest = keyFrameTimes.front();
  for (size_t i = 1; i < keyFrameTimes.size(); ++i) longest = std::max(longest, keyFrameTimes[i] - keyFrameTimes[i - 1]);
  return std::max(longest, duration - keyFrameTimes.back());
}

std::string findProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::stringstream folders(path ? path : "/usr/bin:/bin");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (folder.empty()) continue;
    std::string candidate = folder + "/" + name;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return "";
}

bool ffprobeAvailable() { return !findProgram("ffprobe").empty(); }

std::vector<std::string> topLevelBoxes(const std::string& path) {
  std::vector<std::string> boxes;
  std::ifstream file(path, std::ios::binary);
  if (!file) return boxes;
  file.seekg(0, std::ios::end);
  uint64_t size = static_cast<uint64_t>(file.tellg());
  uint64_t at = 0;
  while (at + 8 <= size) {
    unsigned char header[16];
    file.seekg(static_cast<std::streamoff>(at));
    if (!file.read(reinterpret_cast<char*>(header), 8)) break;
    uint64_t length = bigEndian(header, 4);
    if (length == 1) {  // a 64-bit size follows the type
      if (!file.read(reinterpret_cast<char*>(header + 8), 8)) break;
      length = bigEndian(header + 8, 8);
    } else if (length == 0) {  // the box runs to the end of the file
      length = size - at;
    }
    if (length < 8) break;
    boxes.emplace_back(reinterpret_cast<const char*>(header + 4), 4);
    at += length;
  }
  return boxes;
}

VideoProbe probeVideo(const std::string& path) {
  VideoProbe probe;
  std::string ffprobe = findProgram("ffprobe");
  if (ffprobe.empty()) {
    probe.error = "ffprobe isn't installed (scripts/setup.sh installs the ffmpeg package)";
    return probe;
  }
  ProcessResult streams = runProcess(ffprobe, {"-v", "error", "-select_streams", "v:0", "-show_streams",
                                               "-show_format", "-count_frames", "-of", "json", path});
  if (streams.status != 0) {
    probe.error = "ffprobe failed: " + streams.err;
    return probe;
  }
  nlohmann::json json = nlohmann::json::parse(streams.out, nullptr, false);
  if (json.is_discarded() || !json.contains("streams") || json["streams"].empty()) {
    probe.error = "ffprobe found no video stream: " + streams.out + streams.err;
    return probe;
  }
  const nlohmann::json& stream = json["streams"][0];
  probe.codec = text(stream, "codec_name");
  probe.profile = text(stream, "profile");
  probe.pixFmt = text(stream, "pix_fmt");
  probe.colorPrimaries = text(stream, "color_primaries");
  probe.colorTransfer = text(stream, "color_transfer");
  probe.colorSpace = text(stream, "color_space");
  probe.colorRange = text(stream, "color_range");
  probe.width = static_cast<int>(number(stream, "width"));
  probe.height = static_cast<int>(number(stream, "height"));
  probe.frameRate = rate(text(stream, "r_frame_rate"));
  probe.frameCount = static_cast<int64_t>(number(stream, "nb_read_frames"));
  probe.streamDuration = number(stream, "duration");
  if (json.contains("format")) probe.duration = number(json["format"], "duration");

  ProcessResult keys = runProcess(ffprobe, {"-v", "error", "-select_streams", "v:0", "-skip_frame", "nokey",
                                            "-show_entries", "frame=pts_time,key_frame", "-of", "json", path});
  if (keys.status != 0) {
    probe.error = "ffprobe failed to list key frames: " + keys.err;
    return probe;
  }
  nlohmann::json frames = nlohmann::json::parse(keys.out, nullptr, false);
  if (!frames.is_discarded() && frames.contains("frames"))
    for (const auto& frame : frames["frames"])
      if (number(frame, "key_frame") == 1) probe.keyFrameTimes.push_back(number(frame, "pts_time"));
  std::sort(probe.keyFrameTimes.begin(), probe.keyFrameTimes.end());

  std::vector<std::string> boxes = topLevelBoxes(path);
  auto moov = std::find(boxes.begin(), boxes.end(), "moov");
  auto mdat = std::find(boxes.begin(), boxes.end(), "mdat");
  probe.moovBeforeMdat = moov != boxes.end() && mdat != boxes.end() && moov < mdat;
  return probe;
}

std::string VideoProbe::storeFormatMismatches() const {
  std::string mismatches;
  auto expect = [&](const char* key, const std::string& value, const char* wanted) {
    if (value == wanted) return;
    if (!mismatches.empty()) mismatches += "; ";
    mismatches += std::string(key) + " is " + (value.empty() ? "absent" : value);
  };
  expect("codec", codec, "h264");
  expect("profile", profile, "High");
  expect("pixel format", pixFmt, "yuv420p");
  expect("colour primaries", colorPrimaries, "bt709");
  expect("transfer", colorTransfer, "bt709");
  expect("matrix", colorSpace, "bt709");
  return mismatches;
}

}  // namespace vorno::testing
