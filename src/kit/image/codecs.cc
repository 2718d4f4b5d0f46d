#include "kit/image/codecs.h"

#include "kit/util/huge_pages.h"

#include <libheif/heif.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace vorno::codecs {
namespace {

// "maybe" covers the generic "mif1" brand, which still images carry as their main brand.
bool isStillImageBrand(const uint8_t* data, size_t size) {
  heif_filetype_result result = heif_check_filetype(data, static_cast<int>(std::min<size_t>(size, 1 << 20)));
  return result == heif_filetype_yes_supported || result == heif_filetype_maybe;
}

}  // namespace

std::optional<RGBAPixels> RGBAPixels::allocate(uint64_t width, uint64_t height) {
  if (!acceptableSize(width, height)) return std::nullopt;
  RGBAPixels pixels;
  pixels.width = static_cast<int>(width);
  pixels.height = static_cast<int>(height);
  pixels.bytes.reset(static_cast<uint8_t*>(HugePages::allocate(pixels.byteCount())));
  if (!pixels.bytes) return std::nullopt;
  return pixels;
}

Format sniff(const uint8_t* data, size_t size) {
  if (!data) return Format::unknown;
  static const uint8_t png[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  if (size >= 8 && std::equal(png, png + 8, data)) return Format::png;
  if (size >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF) return Format::jpeg;
  if (size >= 12 && std::memcmp(data, "RIFF", 4) == 0 && std::memcmp(data + 8, "WEBP", 4) == 0) return Format::webp;
  if (size >= 4 && ((data[0] == 'I' && data[1] == 'I' && (data[2] == 42 || data[2] == 43) && data[3] == 0) ||
                    (data[0] == 'M' && data[1] == 'M' && data[2] == 0 && (data[3] == 42 || data[3] == 43))))
    return Format::tiff;
  // ISO media files: libheif knows which brands are still images (a .mov or .mp4 is not).
  if (size >= 12 && std::memcmp(data + 4, "ftyp", 4) == 0 &&
      isStillImageBrand(data, size))
    return Format::heif;
  return Format::unknown;
}

std::optional<RGBAPixels> decode(const uint8_t* data, size_t size) {
  switch (sniff(data, size)) {
    case Format::png: return decodePNG(data, size);
    case Format::jpeg: return decodeJPEG(data, size);
    case Format::webp: return decodeWebP(data, size);
    case Format::tiff: return decodeTIFF(data, size);
    case Format::heif: return decodeHEIF(data, size);
    case Format::unknown: break;
  }
  return std::nullopt;
}

std::unique_ptr<FILE, int (*)(FILE*)> openRegular(const std::string& path) {
  std::unique_ptr<FILE, int (*)(FILE*)> none(nullptr, &std::fclose);
  // O_NONBLOCK makes open return at once even on a pipe with no writer; a regular file reads the
  // same either way, and only regular files get past the check.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return none;
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    return none;
  }
  FILE* file = ::fdopen(fd, "rb");
  if (!file) {
    ::close(fd);
    return none;
  }
  return {file, &std::fclose};
}

bool isRegularFile(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace vorno::codecs
