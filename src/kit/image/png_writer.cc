// PNGWriter: rows prepared and filtered in one pass, compressed by libdeflate in one call, and
// wrapped in the PNG container (signature, IHDR, IDAT, IEND, each chunk with its CRC-32).
//
// Filter. Which filter packs a picture best depends on what it shows. Interfaces and copy are
// rows much like the row above, which Up turns into zeros. A dithered gradient repeats its
// dither pattern along each row, which deflate finds in the unfiltered bytes and a filter
// scrambles, and a slide drawn over one is mostly that gradient. Photographs with noise want
// the filter that suits each row (png_row_filters, the reference library's default), which costs
// a fifth of the encoding. So the picture is measured: eight strips of eight rows spread down it
// (2 % of the rows) are packed once, then filtered each way and compressed at level 1. The
// picture is left unfiltered unless Up packs the strips at least 3 % smaller; and a busy one (the
// strips shrink to no less than `busyRatio`) is filtered row by row unless that packs them larger.
// The sample depends only on the pixels, so the same picture always gives the same file.
//
// Level. libdeflate's level 1 is a fast greedy matcher; level 2 searches hash chains, which
// on rows of zeros (a calm picture filtered Up) is both faster and smaller than level 1, and on
// anything else costs a quarter to a half more time for 3-8 % less size. So a calm picture
// filtered Up gets `calmLevel`, every other one level 1.
//
// Measured against libpng at its defaults (zlib level 6, all five filters chosen per row) on
// four 1320 x 2868 pictures (bench/png_bench.cc, medians of 3 runs, one core, same round):
//
//   picture                          ours: bytes  ms       libpng: bytes  ms     size    time
//   the example's interface slide       369,794  24.7           344,946  112    +7.2 %  0.22x
//   a photo under interface blocks    3,042,080  63.2         2,734,080  670   +11.3 %  0.09x
//   copy on a plain background           84,190  17.2            92,409   92    -8.9 %  0.19x
//   a dithered gradient slide           728,507  32.5           649,643  201   +12.1 %  0.16x
//
// On the mix an export writes (the example's 21 slides and targets), choosing among the three
// filters instead of Up or per row makes the set 13 % smaller (12.5 MB for 14.3 MB) in 0.79x the
// time; its pictures over a dithered gradient come out a quarter smaller in half the time.
//
// The filtered rows and the deflate output, each about the picture's size, come from the
// scratch pool: no fresh pages and no clearing per picture.
#include "kit/image/png_writer.h"

#include "kit/image/png_row_filters.h"
#include "kit/image/scratch_buffers.h"
#include "kit/util/big_endian.h"

#include <cairo.h>
#include <libdeflate.h>
#include <tmmintrin.h>

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

// Four opaque pixels at a time into R G B bytes, with one byte shuffle (SSSE3, asked of the
// processor once; without it every pixel goes one at a time). Each store writes four bytes beyond
// its twelve, which the next store overwrites, so it stops while two pixels remain.
__attribute__((target("ssse3"))) int packOpaqueFours(const uint8_t* source, int width, uint8_t* out) {
  const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  int x = 0;
  for (; x + 6 <= width; x += 4) {
    const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 4 * x));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 3 * x), _mm_shuffle_epi8(pixels, order));
  }
  return x;
}

bool hasSSSE3() {
  static const bool supported = __builtin_cpu_supports("ssse3");
  return supported;
}

// One row of native-endian premultiplied xRGB/ARGB words into R G B (A) bytes.
void packRow(const uint8_t* source, int width, bool withAlpha, bool premultiplied, uint8_t* out) {
  int x = 0;
  if (!withAlpha && hasSSSE3()) {
    x = packOpaqueFours(source, width, out);
    out += 3 * static_cast<size_t>(x);
  }
  for (; x < width; ++x) {
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

int levelFor(const Sample& sample) { return sample.filter == Filter::up && sample.ratio < busyRatio ? calmLevel : 1; }

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

Rows rowsOf(const Image& image) {
  Rows rows;
  rows.width = image.width(), rows.height = image.height();
  rows.channels = isOpaque(image) ? 3 : 4;
  rows.rowBytes = static_cast<size_t>(rows.width) * rows.channels;
  return rows;
}

// One packed row filtered against the packed row above it, with `filter` (a fixed one, or the
// best for the row when adaptive), into `line`, its filter byte first.
void filterLine(Filter filter, const uint8_t* row, const uint8_t* above, const Rows& rows, uint8_t* line) {
  if (filter == Filter::adaptive) {
    line[0] = PNGRowFilters::applyBest(row, above, rows.rowBytes, rows.channels, line + 1);
    return;
  }
  line[0] = filter == Filter::sub ? PNGRowFilters::sub : filter == Filter::up ? PNGRowFilters::up : PNGRowFilters::none;
  PNGRowFilters::apply(PNGRowFilters::Type(line[0]), row, above, rows.rowBytes, rows.channels, line + 1);
}

// Every row, each with its filter byte in front, into `filtered`. False when memory runs out.
bool filterRows(const Image& image, const Rows& rows, Filter filter, uint8_t* filtered) {
  const bool withAlpha = rows.channels == 4, premultiplied = premultipliedFormat(image);
  std::vector<uint8_t> current, previous;
  try {
    current.resize(rows.rowBytes);
    previous.assign(rows.rowBytes, 0);  // the row above the first is zeros
  } catch (const std::bad_alloc&) {
    return false;
  }
  for (int y = 0; y < rows.height; ++y) {
    const uint8_t* source = image.data() + static_cast<size_t>(y) * image.stride();
    uint8_t* out = filtered + rows.lineBytes() * y;
    if (!withAlpha && filter == Filter::sub) {
      out[0] = PNGRowFilters::sub;
      subOpaqueRow(source, rows.width, out + 1);
      continue;
    }
    if (filter == Filter::none) {
      out[0] = PNGRowFilters::none;
      packRow(source, rows.width, withAlpha, premultiplied, out + 1);
      continue;
    }
    packRow(source, rows.width, withAlpha, premultiplied, current.data());
    filterLine(filter, current.data(), previous.data(), rows, out);
    current.swap(previous);
  }
  return true;
}

// A few strips spread down the picture, their rows packed once, to be filtered and compressed
// at level 1 in the ways the writer may choose.
class StripSample {
 public:
  static constexpr int strips = 8, stripRows = 8;

  StripSample(const Image& image, const Rows& rows) : rows_(rows) {
    rowsPerStrip_ = std::min(stripRows, rows.height);
    stripCount_ = rows.height <= rowsPerStrip_ ? 1 : strips;  // one strip is the whole picture
    packedBytes_ = rows.rowBytes * (rowsPerStrip_ + 1);
    packed_.resize(packedBytes_ * stripCount_);
    strip_.resize(rows.lineBytes() * rowsPerStrip_);
    fast_ = compressor(1);
    if (fast_) out_.resize(libdeflate_zlib_compress_bound(fast_, strip_.size()));
    const bool withAlpha = rows.channels == 4, premultiplied = premultipliedFormat(image);
    for (int k = 0; k < stripCount_; ++k) {
      const int top = static_cast<int>(int64_t(rows.height - rowsPerStrip_) * k / std::max(1, stripCount_ - 1));
      // Each strip's first packed row is the one above it (zeros above the picture's first).
      uint8_t* p = packed_.data() + packedBytes_ * k;
      for (int y = top - 1; y < top + rowsPerStrip_; ++y, p += rows.rowBytes) {
        if (y < 0) std::fill_n(p, rows.rowBytes, 0);
        else packRow(image.data() + static_cast<size_t>(y) * image.stride(), rows.width, withAlpha, premultiplied, p);
      }
    }
  }

  bool usable() const { return fast_ != nullptr; }

  /// The strips filtered with `filter`, compressed at level 1, over their size.
  double ratio(Filter filter) {
    size_t in = 0, packedSize = 0;
    for (int k = 0; k < stripCount_; ++k) {
      const uint8_t* above = packed_.data() + packedBytes_ * k;
      for (int y = 0; y < rowsPerStrip_; ++y, above += rows_.rowBytes)
        filterLine(filter, above + rows_.rowBytes, above, rows_, strip_.data() + rows_.lineBytes() * y);
      const size_t size = libdeflate_zlib_compress(fast_, strip_.data(), strip_.size(), out_.data(), out_.size());
      in += strip_.size();
      packedSize += size ? size : strip_.size();
    }
    return double(packedSize) / double(in);
  }

 private:
  const Rows& rows_;
  int rowsPerStrip_ = 0, stripCount_ = 0;
  size_t packedBytes_ = 0;  // one strip's packed rows, the row above it included
  std::vector<uint8_t> packed_, strip_, out_;
  libdeflate_compressor* fast_ = nullptr;
};

// The filter for the whole picture, from the strips: none, unless Up packs them clearly smaller
// (Up costs a pass over the rows); and on a busy picture the best filter for each row, unless that
// packs them larger (choosing costs a fifth of the encoding, and pays only on busy pictures).
Sample measureRows(const Image& image, const Rows& rows) {
  try {
    StripSample strips(image, rows);
    if (!strips.usable()) return {};
    Sample sample{Filter::none, strips.ratio(Filter::none)};
    if (const double up = strips.ratio(Filter::up); up < sample.ratio * 0.97) sample = {Filter::up, up};
    if (sample.ratio >= busyRatio) {
      if (const double best = strips.ratio(Filter::adaptive); best <= sample.ratio)
        sample = {Filter::adaptive, best};
    }
    return sample;
  } catch (const std::bad_alloc&) {
    return {};
  }
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

Sample measure(const Image& image) {
  if (!image || image.width() <= 0 || image.height() <= 0) return {};
  return measureRows(image, rowsOf(image));
}

std::optional<std::vector<uint8_t>> encode(const Image& image, Options options) {
  if (!image || image.width() <= 0 || image.height() <= 0) return std::nullopt;
  const Rows rows = rowsOf(image);
  const bool measured = options.level == automaticLevel || options.filter == Filter::automatic;
  const Sample sample = measured ? measureRows(image, rows) : Sample{};
  const int level = options.level == automaticLevel ? levelFor(sample) : std::clamp(options.level, 0, 12);
  const Filter filter = options.filter == Filter::automatic ? sample.filter : options.filter;
  ScratchBuffer filtered = ScratchBuffers::take(rows.lineBytes() * rows.height);
  if (!filtered || !filterRows(image, rows, filter, filtered.data())) return std::nullopt;

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
