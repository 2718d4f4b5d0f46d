// PNGWriter: rows prepared and filtered in one pass, compressed by libdeflate in one call, and
// wrapped in the PNG container (signature, IHDR, IDAT, IEND, each chunk with its CRC-32).
//
// Level. libdeflate's level 1 is a fast greedy matcher; its higher levels search hash chains,
// which costs little where the filtered rows are long runs (gradients, copy, interfaces) and
// much where they are noise (photographs), and gains most where it costs least. So the level is
// picked by measuring the picture: a few strips spread down it are filtered and compressed at
// level 1, and when they shrink well (to under `busyRatio` of their size) the picture is calm
// and gets `calmLevel`; otherwise it is busy and keeps level 1. The sample is about 5 % of the
// rows, and its result depends only on the pixels, so the same picture always gives the same file.
//
// Filters. On a busy picture each row takes the filter whose bytes are smallest in magnitude
// (png_row_filters), the reference library's default, which there is both smaller and faster
// to compress than any fixed filter. On a calm one Up alone is within 2 % of that in size and
// saves the fifth of the encoding that choosing costs, so calm pictures are filtered Up.
//
// Measured against libpng at its defaults (zlib level 6, all five filters chosen per row) on
// four 1320 x 2868 pictures (bench/png_bench.cc, medians of 3 runs, one core, same round):
//
//   picture                          ours: bytes  ms       libpng: bytes  ms     size    time
//   the example's interface slide       369,794  29.0           344,946  128    +7.2 %  0.23x
//   a photo under interface blocks    3,042,080  70.4         2,734,080  753   +11.3 %  0.09x
//   copy on a plain background           91,793  22.2            92,409   98    -0.7 %  0.23x
//   a dithered gradient slide           728,507  36.7           649,643  224   +12.1 %  0.16x
//
// Choosing per row on the calm three would make them 1-1.6 % smaller for 6-20 % more time. Level
// 6 would bring them to libpng's sizes, but on a dithered gradient it costs 70 % more time than
// level 2 for 10 % less size; level 2 keeps every picture within 13 %.
//
// The filtered rows and the deflate output, each about the picture's size, come from the
// scratch pool: no fresh pages and no clearing per picture.
#include "kit/image/png_writer.h"

#include "kit/image/png_row_filters.h"
#include "kit/image/scratch_buffers.h"
#include "kit/util/big_endian.h"

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

void appendChunk(std::vector<uint8_t>& out, const char type[4], const uint8_t* data, size_t size) {
  size_t start = out.size();
  out.resize(start + 12 + size);
  uint8_t* p = out.data() + start;
  writeBigEndian32(p, static_cast<uint32_t>(size));
  std::memcpy(p + 4, type, 4);
  if (size) std::memcpy(p + 8, data, size);
  // The CRC covers the type and the data, not the length.
  writeBigEndian32(p + 8 + size, libdeflate_crc32(0, p + 4, size + 4));
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

}  // namespace

int levelFor(double sampleRatio) { return sampleRatio < busyRatio ? calmLevel : 1; }

Filter filterFor(double sampleRatio) { return sampleRatio < busyRatio ? Filter::up : Filter::adaptive; }

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

namespace {

struct Rows {
  int width = 0, height = 0, channels = 0;
  size_t rowBytes = 0;  ///< bytes of one row's pixels, without its filter byte
  size_t lineBytes() const { return rowBytes + 1; }
};

// Rows [from, to), each with its filter byte in front, into `filtered`. False when memory runs
// out.
bool filterRows(const Image& image, const Rows& rows, Filter filter, int from, int to, uint8_t* filtered) {
  const bool withAlpha = rows.channels == 4, premultiplied = premultipliedFormat(image);
  std::vector<uint8_t> current, previous;
  try {
    current.resize(rows.rowBytes);
    previous.assign(rows.rowBytes, 0);  // the row above the first is zeros
  } catch (const std::bad_alloc&) {
    return false;
  }
  auto source = [&](int y) { return image.data() + static_cast<size_t>(y) * image.stride(); };
  if (from > 0) packRow(source(from - 1), rows.width, withAlpha, premultiplied, previous.data());
  const auto fixed = filter == Filter::sub ? PNGRowFilters::sub
                     : filter == Filter::up ? PNGRowFilters::up
                                            : PNGRowFilters::none;
  for (int y = from; y < to; ++y) {
    uint8_t* out = filtered + rows.lineBytes() * (y - from);
    if (!withAlpha && filter == Filter::sub) {
      out[0] = PNGRowFilters::sub;
      subOpaqueRow(source(y), rows.width, out + 1);
      continue;
    }
    packRow(source(y), rows.width, withAlpha, premultiplied, current.data());
    if (filter == Filter::adaptive) {
      out[0] = PNGRowFilters::applyBest(current.data(), previous.data(), rows.rowBytes, rows.channels, out + 1);
    } else {
      out[0] = fixed;
      PNGRowFilters::apply(fixed, current.data(), previous.data(), rows.rowBytes, rows.channels, out + 1);
    }
    current.swap(previous);
  }
  return true;
}

// How far a few strips spread down the picture, each row filtered as suits it best, shrink at
// level 1: their compressed size over their size. Only the strips' rows are filtered for it.
double sampleRatio(const Image& image, const Rows& rows) {
  constexpr int strips = 8, stripRows = 16;
  libdeflate_compressor* fast = compressor(1);
  if (!fast) return 1;
  const int rowsPerStrip = std::min(stripRows, rows.height);
  const size_t stripBytes = rows.lineBytes() * rowsPerStrip;
  std::vector<uint8_t> strip, out;
  try {
    strip.resize(stripBytes);
    out.resize(libdeflate_zlib_compress_bound(fast, stripBytes));
  } catch (const std::bad_alloc&) {
    return 1;
  }
  size_t in = 0, packed = 0;
  for (int k = 0; k < strips; ++k) {
    const int top = static_cast<int>(int64_t(rows.height - rowsPerStrip) * k / (strips - 1));
    if (!filterRows(image, rows, Filter::adaptive, top, top + rowsPerStrip, strip.data())) return 1;
    const size_t size = libdeflate_zlib_compress(fast, strip.data(), stripBytes, out.data(), out.size());
    in += stripBytes;
    packed += size ? size : stripBytes;
    if (rows.height <= rowsPerStrip) break;  // one strip is the whole picture
  }
  return double(packed) / double(in);
}

// The PNG file around a zlib stream.
std::optional<std::vector<uint8_t>> container(const Rows& rows, const uint8_t* stream, size_t streamSize) {
  // IDAT chunks of 1 MiB: any size up to 2^31 is legal, but streaming readers handle moderate
  // chunks best.
  constexpr size_t idatSize = 1 << 20;
  static const uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  std::vector<uint8_t> file;
  try {
    file.reserve(8 + 25 + streamSize + (streamSize / idatSize + 1) * 12 + 12);
    file.resize(8);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
  std::memcpy(file.data(), signature, 8);
  uint8_t header[13];
  writeBigEndian32(header, static_cast<uint32_t>(rows.width));
  writeBigEndian32(header + 4, static_cast<uint32_t>(rows.height));
  header[8] = 8;                                // bits per channel
  header[9] = rows.channels == 4 ? 6 : 2;       // colour type: RGBA or RGB
  header[10] = header[11] = header[12] = 0;     // deflate, adaptive filter method, no interlace
  appendChunk(file, "IHDR", header, sizeof header);
  for (size_t offset = 0; offset < streamSize; offset += idatSize)
    appendChunk(file, "IDAT", stream + offset, std::min(idatSize, streamSize - offset));
  appendChunk(file, "IEND", nullptr, 0);
  return file;
}

}  // namespace

std::optional<std::vector<uint8_t>> encode(const Image& image, Options options) {
  if (!image || image.width() <= 0 || image.height() <= 0) return std::nullopt;
  Rows rows;
  rows.width = image.width(), rows.height = image.height();
  rows.channels = isOpaque(image) ? 3 : 4;
  rows.rowBytes = static_cast<size_t>(rows.width) * rows.channels;

  const bool measured = options.level == automaticLevel || options.filter == Filter::automatic;
  const double ratio = measured ? sampleRatio(image, rows) : 1;
  const int level = options.level == automaticLevel ? levelFor(ratio) : std::clamp(options.level, 0, 12);
  const Filter filter = options.filter == Filter::automatic ? filterFor(ratio) : options.filter;
  ScratchBuffer filtered = ScratchBuffers::take(rows.lineBytes() * rows.height);
  if (!filtered || !filterRows(image, rows, filter, 0, rows.height, filtered.data())) return std::nullopt;

  libdeflate_compressor* deflater = compressor(level);
  if (!deflater) return std::nullopt;
  ScratchBuffer stream = ScratchBuffers::take(libdeflate_zlib_compress_bound(deflater, filtered.size()));
  if (!stream) return std::nullopt;
  const size_t streamSize =
      libdeflate_zlib_compress(deflater, filtered.data(), filtered.size(), stream.data(), stream.size());
  if (streamSize == 0) return std::nullopt;
  return container(rows, stream.data(), streamSize);
}

}  // namespace vorno::PNGWriter
