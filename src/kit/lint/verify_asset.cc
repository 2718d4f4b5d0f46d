// Reading back an exported file. What the stores check, the pixel size and whether the image can
// be transparent, is in the PNG's header chunks; that the file is whole is in its chunk
// structure: every chunk complete with a matching CRC-32, the pixel data present, and the end
// chunk last. The pixels are never inflated, so verifying a file costs one read of its bytes
// (about a third of a megabyte for a slide) and a CRC pass, a small fraction of a decode.
//
// Why that is enough. The deflate stream inside was made by our own encoder from the pixels in
// memory; what can go wrong afterwards is the write (a short or torn file, a full disk, bytes
// changed on the way), and each of those breaks a length, a CRC or the end chunk.
//
// A PNG can be transparent through its colour type (gray with alpha, RGBA) or through a tRNS
// chunk on a gray, RGB or palette image. Other formats the image reader knows (JPEG) are decoded
// for their size and never carry alpha.
#include "kit/lint/linter.h"

#include "kit/model/store_target.h"
#include "kit/image/image_decode.h"
#include "kit/util/big_endian.h"
#include "kit/util/read_file.h"

#include <libdeflate.h>
#include <spng.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {
namespace {

struct ImageInfo {
  int width = 0;
  int height = 0;
  bool hasAlpha = false;
};

bool hasPNGSignature(std::string_view bytes) {
  constexpr std::string_view signature("\x89PNG\r\n\x1a\n", 8);
  return bytes.substr(0, signature.size()) == signature;
}

std::optional<ImageInfo> readPNGInfo(std::string_view bytes) {
  std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> context(spng_ctx_new(0), &spng_ctx_free);
  if (!context) return std::nullopt;
  spng_ctx* ctx = context.get();
  // Text and profile chunks before the pixels are skipped, not held; cap what they may ask for.
  if (spng_set_chunk_limits(ctx, 64u << 20, 64u << 20) != 0) return std::nullopt;
  if (spng_set_png_buffer(ctx, bytes.data(), bytes.size()) != 0) return std::nullopt;
  spng_ihdr header{};
  if (spng_get_ihdr(ctx, &header) != 0 || header.width == 0 || header.height == 0) return std::nullopt;

  ImageInfo info;
  info.width = static_cast<int>(header.width);
  info.height = static_cast<int>(header.height);
  info.hasAlpha = header.color_type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA || header.color_type == SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
  // Reading the tRNS chunk walks the chunks up to the first IDAT: a file that breaks off before
  // its pixels is unreadable, not merely opaque.
  spng_trns transparency{};
  int status = spng_get_trns(ctx, &transparency);
  if (status == 0)
    info.hasAlpha = true;
  else if (status != SPNG_ECHUNKAVAIL)
    return std::nullopt;
  return info;
}

// Whether the PNG in `file` is whole: signature, IHDR first, every chunk complete and its CRC
// right, at least one IDAT, and IEND last with nothing after it.
bool pngIsWhole(std::string_view file) {
  if (file.size() < 8) return false;
  const auto* bytes = reinterpret_cast<const uint8_t*>(file.data());
  const size_t size = file.size();
  size_t at = 8;  // after the signature, which the caller has seen
  bool first = true, sawData = false;
  while (at + 12 <= size) {
    const size_t length = readBigEndian32(&bytes[at]);
    if (length > size - at - 12) return false;  // the chunk runs past the end
    const uint8_t* type = &bytes[at + 4];
    const uint32_t crc = readBigEndian32(&bytes[at + 8 + length]);
    if (libdeflate_crc32(0, type, length + 4) != crc) return false;
    const std::string name(reinterpret_cast<const char*>(type), 4);
    if (first && name != "IHDR") return false;
    first = false;
    sawData = sawData || name == "IDAT";
    at += 12 + length;
    if (name == "IEND") return sawData && at == size;
  }
  return false;  // no end chunk
}

std::optional<ImageInfo> readImageInfo(const std::string& path) {
  // One read of the whole file serves the header, the walk over the chunks and, for another
  // format, the decode; a pipe or a device is no asset and is never opened for reading.
  std::optional<std::string> bytes = readRegularFile(path);
  if (!bytes) return std::nullopt;
  if (hasPNGSignature(*bytes)) {
    std::optional<ImageInfo> info = readPNGInfo(*bytes);
    if (info && !pngIsWhole(*bytes)) return std::nullopt;
    return info;
  }
  std::optional<DecodedImage> image =
      decodeImageData(reinterpret_cast<const uint8_t*>(bytes->data()), bytes->size());
  if (!image) return std::nullopt;
  return ImageInfo{image->width, image->height, false};
}

std::string fileNameOf(const std::string& path) {
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

std::vector<Issue> Linter::verifyAsset(const std::string& path, const StoreTarget& target) {
  const std::string name = fileNameOf(path);
  std::optional<ImageInfo> info = readImageInfo(path);
  if (!info) return {Issue(Issue::Severity::error, "asset.unreadable", "Could not read " + name + ".")};

  std::vector<Issue> issues;
  if (info->width != target.width || info->height != target.height)
    issues.emplace_back(Issue::Severity::error, "asset.size",
                        name + " is " + std::to_string(info->width) + "×" + std::to_string(info->height) + "; " +
                            target.name + " needs " + std::to_string(target.width) + "×" + std::to_string(target.height) +
                            ".");
  if (info->hasAlpha)
    issues.emplace_back(Issue::Severity::error, "asset.alpha", name + " has an alpha channel; stores reject transparency.");
  return issues;
}

}  // namespace vorno
