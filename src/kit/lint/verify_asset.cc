// Reading back an exported file. Only what the stores check is looked at, the pixel size and
// whether the image can be transparent, and both are in the PNG's header chunks: the pixels are
// never decoded, so verifying a full export costs a few small reads per file.
//
// A PNG can be transparent through its colour type (gray with alpha, RGBA) or through a tRNS
// chunk on a gray, RGB or palette image. Other formats the image reader knows (JPEG) are decoded
// for their size and never carry alpha.
#include "kit/lint/linter.h"

#include "kit/model/store_target.h"
#include "kit/image/image_decode.h"

#include <spng.h>

#include <algorithm>
#include <cstdio>
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

std::optional<ImageInfo> readImageInfo(const std::string& path) {
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  if (!file) return std::nullopt;
  if (hasPNGSignature(file.get())) {
    std::rewind(file.get());
    return readPNGInfo(file.get());
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
