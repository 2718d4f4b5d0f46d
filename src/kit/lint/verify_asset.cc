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

#include <libdeflate.h>
#include <spng.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <vector>
#include <memory>
#include <optional>
#include <string>

namespace vorno {
namespace {

struct ImageInfo {
  int width = 0;
  int height = 0;
  bool hasAlpha = false;
};

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

bool hasPNGSignature(std::FILE* file) {
  static const unsigned char signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  unsigned char head[8];
  if (std::fread(head, 1, sizeof head, file) != sizeof head) return false;
  return std::equal(head, head + 8, signature);
}

std::optional<ImageInfo> readPNGInfo(std::FILE* file) {
  std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> context(spng_ctx_new(0), &spng_ctx_free);
  if (!context) return std::nullopt;
  spng_ctx* ctx = context.get();
  // Text and profile chunks before the pixels are skipped, not held; cap what they may ask for.
  if (spng_set_chunk_limits(ctx, 64u << 20, 64u << 20) != 0) return std::nullopt;
  if (spng_set_png_file(ctx, file) != 0) return std::nullopt;
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

uint32_t bigEndian32(const uint8_t* p) {
  return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
}

// Whether the PNG at `path` is whole: signature, IHDR first, every chunk complete and its CRC
// right, at least one IDAT, and IEND last with nothing after it.
bool pngIsWhole(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = in.tellg();
  if (!in || size < 8) return false;
  std::vector<uint8_t> bytes(static_cast<size_t>(size));
  in.seekg(0);
  if (!in.read(reinterpret_cast<char*>(bytes.data()), size)) return false;
  size_t at = 8;  // after the signature, which the caller has seen
  bool first = true, sawData = false;
  while (at + 12 <= bytes.size()) {
    const size_t length = bigEndian32(&bytes[at]);
    if (length > bytes.size() - at - 12) return false;  // the chunk runs past the end
    const uint8_t* type = &bytes[at + 4];
    const uint32_t crc = bigEndian32(&bytes[at + 8 + length]);
    if (libdeflate_crc32(0, type, length + 4) != crc) return false;
    const std::string name(reinterpret_cast<const char*>(type), 4);
    if (first && name != "IHDR") return false;
    first = false;
    sawData = sawData || name == "IDAT";
    at += 12 + length;
    if (name == "IEND") return sawData && at == bytes.size();
  }
  return false;  // no end chunk
}

std::optional<ImageInfo> readImageInfo(const std::string& path) {
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  if (!file) return std::nullopt;
  if (hasPNGSignature(file.get())) {
    std::rewind(file.get());
    std::optional<ImageInfo> info = readPNGInfo(file.get());
    if (info && !pngIsWhole(path)) return std::nullopt;
    return info;
  }
  file.reset();
  std::optional<DecodedImage> image = decodeImageFile(path);
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
