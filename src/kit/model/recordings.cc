#include "kit/model/recordings.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace vorno::Recordings {

bool isRecording(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  if (extension.empty()) return false;
  extension.erase(0, 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

}  // namespace vorno::Recordings
