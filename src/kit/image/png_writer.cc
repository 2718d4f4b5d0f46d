// PNGWriter: rows prepared and filtered in one pass, compressed by libdeflate in one call, and
// wrapped in the PNG container (signature, IHDR, IDAT, IEND, each chunk with its CRC-32).
//
// Why our own container over libdeflate, at level 1 with the Sub filter. Measured on this
// machine (2 shared cores, RelWithDebInfo) with a 1320 x 2868 slide: a vertical gradient, a
// headline and a subhead, a rounded card holding a photo-like capture with sensor noise
// (bench/png_bench.cc, CPU-time medians of 5 to 9 runs, row packing included):
//
//   encoder                                 ms     bytes
//   ours, libdeflate 1, Sub               74.6   3,126,660   <- chosen
//   ours, libdeflate 1, Up                92.5   3,162,300
//   ours, libdeflate 1, None              56.0   3,525,550   (+23%: too big)
//   ours, libdeflate 2, Up / Sub       119/121   2,950,200 / 2,935,950
//   ours, libdeflate 3, Up                 110   2,922,200
//   ours, libdeflate 6, Up / Sub       141/140   2,895,330 / 2,892,900
//   libspng, zlib 1, Up                    121   3,431,710
//   libspng, zlib 6, Up                    609   2,868,760
//   libpng, zlib 1, Up                     111   3,431,710
//   libpng, zlib 6, Up                     541   2,868,760
//
// Level 1 is libdeflate's fast matcher; from level 2 on it switches to hash chains, which buys
// 6% of size for 60% more time. Sub level 1 is the fastest whose files are within 9% of the
// smallest: eight times faster than zlib at its default level, and faster and 9% smaller than
// zlib at level 1. Noise in photographs is what keeps every encoder near 3 MB.
//
// A fixed filter costs one subtraction a byte, where adaptive filtering tries all five per row.
//
// Level 2 after all, for flat pictures. The photo above leaves 55% of the filtered bytes zero; a
// slide of gradients, text and an interface capture (bench/render_bench.cc) leaves 93%, and there
// level 2 (hash chains) takes 23 ms where level 1 takes 34, and makes a smaller file: level 1's
// matcher is slow on long runs. Fitting cost per byte to the share of zeros puts the crossover
// near 85%; the share is counted on every eighth row while filtering, and above 88% level 2 is
// used.
#include "kit/image/png_writer.h"

#include <cairo.h>
#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>

namespace vorno::PNGWriter {
namespace {

struct FreeCompressor {
  void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};

// A compressor holds its level's tables (up to a few hundred KB); one per thread and level is
// kept, so export threads never share one and never allocate one per file.
libdeflate_compressor* compressor(int level) {
  thread_local std::array<std::unique_ptr<libdeflate_compressor, FreeCompressor>, 13> compressors;
  auto& slot = compressors[level];
  if (!slot) slot.reset(libdeflate_alloc_compressor(level));
  return slot.get();
}

void putBigEndian32(uint8_t* p, uint32_t v) {
  p[0] = uint8_t(v >> 24);
  p[1] = uint8_t(v >> 16);
  p[2] = uint8_t(v >> 8);
  p[3] = uint8_t(v);
}

void appendChunk(std::vector<uint8_t>& out, const char type[4], const uint8_t* data, size_t size) {
  size_t start = out.size();
  out.resize(start + 12 + size);
  uint8_t* p = out.data() + start;
  putBigEndian32(p, static_cast<uint32_t>(size));
  std::memcpy(p + 4, type, 4);
  if (size) std::memcpy(p + 8, data, size);
  // The CRC covers the type and the data, not the length.
  putBigEndian32(p + 8 + size, libdeflate_crc32(0, p + 4, size + 4));
}

// One row of native-endian premultiplied xRGB/ARGB words into R G B (A) bytes.
void packRow(const uint8_t* source, int width, bool withAlpha, bool premultiplied, uint8_t* out) {
  for (int x = 0; x < width; ++x) {
    uint32_t pixel;
    std::memcpy(&pixel, source + 4 * x, 4);
    uint32_t a = pixel >> 24, r = (pixel >> 16) & 0xFF, g = (pixel >> 8) & 0xFF, b = pixel & 0xFF;
    if (!withAlpha) {
      out[0] = uint8_t(r), out[1] = uint8_t(g), out[2] = uint8_t(b);
      out += 3;
      continue;
    }
    if (premultiplied && a != 255) {
      if (a == 0) {
        r = g = b = 0;
      } else {
        // Rounded division; premultiplied channels never exceed alpha, so the result fits.
        r = (r * 255 + a / 2) / a, g = (g * 255 + a / 2) / a, b = (b * 255 + a / 2) / a;
      }
    }
    out[0] = uint8_t(r), out[1] = uint8_t(g), out[2] = uint8_t(b), out[3] = uint8_t(a);
    out += 4;
  }
}

// The common case, an opaque picture with the Sub filter, in one pass straight from the words:
// each pixel minus the one before it, byte by byte without borrows (SWAR), written as R G B.
void subOpaqueRow(const uint8_t* source, int width, uint8_t* out) {
  constexpr uint32_t high = 0x80808080u;
  uint32_t previous = 0;  // the pixel left of the first is zero
  for (int x = 0; x < width; ++x) {
    uint32_t pixel;
    std::memcpy(&pixel, source + 4 * x, 4);
    const uint32_t d = ((pixel | high) - (previous & ~high)) ^ ((pixel ^ ~previous) & high);
    previous = pixel;
    out[0] = uint8_t(d >> 16), out[1] = uint8_t(d >> 8), out[2] = uint8_t(d);
    out += 3;
  }
}

bool premultipliedFormat(const Image& image) {
  return cairo_image_surface_get_format(image.surface()) == CAIRO_FORMAT_ARGB32;
}

size_t zeroBytes(const uint8_t* bytes, size_t size) {
  size_t zeros = 0;
  for (size_t i = 0; i < size; ++i) zeros += bytes[i] == 0;
  return zeros;
}

}  // namespace

int levelFor(double zeroFraction) { return zeroFraction > 0.88 ? 2 : 1; }

bool isOpaque(const Image& image) {
  if (!image) return true;
  if (!image.hasAlpha()) return true;
  const int width = image.width(), height = image.height(), stride = image.stride();
  const uint8_t* data = image.data();
  for (int y = 0; y < height; ++y) {
    const uint8_t* row = data + static_cast<size_t>(y) * stride;
    for (int x = 0; x < width; ++x) {
      uint32_t pixel;
      std::memcpy(&pixel, row + 4 * x, 4);
      if ((pixel >> 24) != 0xFF) return false;
    }
  }
  return true;
}

std::optional<std::vector<uint8_t>> packedRows(const Image& image, bool withAlpha) {
  if (!image) return std::nullopt;
  const int width = image.width(), height = image.height();
  const size_t rowBytes = static_cast<size_t>(width) * (withAlpha ? 4 : 3);
  std::vector<uint8_t> rows;
  try {
    rows.resize(rowBytes * height);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
  const bool premultiplied = premultipliedFormat(image);
  for (int y = 0; y < height; ++y)
    packRow(image.data() + static_cast<size_t>(y) * image.stride(), width, withAlpha, premultiplied,
            rows.data() + rowBytes * y);
  return rows;
}

std::optional<std::vector<uint8_t>> encode(const Image& image, Options options) {
  if (!image || image.width() <= 0 || image.height() <= 0) return std::nullopt;
  const int width = image.width(), height = image.height();
  const bool withAlpha = !isOpaque(image);
  const int channels = withAlpha ? 4 : 3;
  const size_t rowBytes = static_cast<size_t>(width) * channels;
  const bool premultiplied = premultipliedFormat(image);
  int level = options.level == automaticLevel ? automaticLevel : std::clamp(options.level, 0, 12);
  const uint8_t filterByte = options.filter == Filter::sub ? 1 : options.filter == Filter::up ? 2 : 0;

  std::vector<uint8_t> filtered, current, previous, compressed, file;
  size_t sampledBytes = 0, sampledZeros = 0;
  try {
    filtered.resize((rowBytes + 1) * height);
    current.resize(rowBytes);
    previous.assign(rowBytes, 0);  // the row above the first is zeros
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
  for (int y = 0; y < height; ++y) {
    uint8_t* out = filtered.data() + (rowBytes + 1) * y;
    out[0] = filterByte;
    ++out;
    if (!withAlpha && options.filter == Filter::sub) {
      subOpaqueRow(image.data() + static_cast<size_t>(y) * image.stride(), width, out);
      if (level == automaticLevel && y % 8 == 0) {
        sampledBytes += rowBytes;
        sampledZeros += zeroBytes(out, rowBytes);
      }
      continue;
    }
    packRow(image.data() + static_cast<size_t>(y) * image.stride(), width, withAlpha, premultiplied,
            current.data());
    const uint8_t* cur = current.data();
    switch (options.filter) {
      case Filter::none:
        std::memcpy(out, cur, rowBytes);
        break;
      case Filter::sub:
        for (int i = 0; i < channels; ++i) out[i] = cur[i];
        for (size_t i = channels; i < rowBytes; ++i) out[i] = uint8_t(cur[i] - cur[i - channels]);
        break;
      case Filter::up: {
        const uint8_t* above = previous.data();
        for (size_t i = 0; i < rowBytes; ++i) out[i] = uint8_t(cur[i] - above[i]);
        break;
      }
    }
    if (level == automaticLevel && y % 8 == 0) {
      sampledBytes += rowBytes;
      sampledZeros += zeroBytes(out, rowBytes);
    }
    current.swap(previous);
  }
  if (level == automaticLevel) level = levelFor(sampledBytes ? double(sampledZeros) / double(sampledBytes) : 0);

  libdeflate_compressor* deflater = compressor(level);
  if (!deflater) return std::nullopt;
  try {
    compressed.resize(libdeflate_zlib_compress_bound(deflater, filtered.size()));
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
  size_t compressedSize =
      libdeflate_zlib_compress(deflater, filtered.data(), filtered.size(), compressed.data(), compressed.size());
  if (compressedSize == 0) return std::nullopt;
  std::vector<uint8_t>().swap(filtered);

  // IDAT chunks of 1 MiB: any size up to 2^31 is legal, but streaming readers handle moderate
  // chunks best.
  constexpr size_t idatSize = 1 << 20;
  try {
    file.reserve(8 + 25 + compressedSize + (compressedSize / idatSize + 1) * 12 + 12);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
  static const uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  file.insert(file.end(), signature, signature + 8);
  uint8_t header[13];
  putBigEndian32(header, static_cast<uint32_t>(width));
  putBigEndian32(header + 4, static_cast<uint32_t>(height));
  header[8] = 8;                     // bits per channel
  header[9] = withAlpha ? 6 : 2;     // colour type: RGBA or RGB
  header[10] = header[11] = header[12] = 0;  // deflate, adaptive filter method, no interlace
  appendChunk(file, "IHDR", header, sizeof header);
  for (size_t offset = 0; offset < compressedSize; offset += idatSize)
    appendChunk(file, "IDAT", compressed.data() + offset, std::min(idatSize, compressedSize - offset));
  appendChunk(file, "IEND", nullptr, 0);
  return file;
}

}  // namespace vorno::PNGWriter
