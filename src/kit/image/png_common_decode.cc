// The common PNG in one pass: 8 bits a channel, RGB or RGBA, not interlaced, no transparency key,
// which is what phones and simulators write for a screenshot. The IDAT chunks make one zlib
// stream that libdeflate inflates in a single call into a reused buffer, and the rows are
// unfiltered (and widened to RGBA) straight into the output. libspng inflates through zlib a row
// at a time, which costs a capture several times as much.
//
// This path only ever answers for a file it understands entirely: the critical chunks' CRCs match,
// the stream's Adler-32 matches, the stream is exactly the IDAT data and inflates to exactly the
// rows. Anything else answers nothing, and decodePNG asks libspng, whose verdict on an odd or
// damaged file then stands as before.
#include "kit/image/codecs.h"
#include "kit/image/png_unfilter.h"
#include "kit/image/scratch_buffers.h"
#include "kit/util/big_endian.h"

#include <libdeflate.h>

#include <cstring>
#include <memory>
#include <vector>

namespace vorno::codecs {
namespace {

bool isType(const uint8_t* type, const char* name) { return std::memcmp(type, name, 4) == 0; }

// A chunk's CRC covers its type and data.
bool crcMatches(const uint8_t* chunk, uint32_t length) {
  return libdeflate_crc32(0, chunk + 4, size_t(length) + 4) == readBigEndian32(chunk + 8 + length);
}

struct Layout {
  uint32_t width = 0, height = 0;
  int pixelBytes = 0;
  std::vector<std::pair<const uint8_t*, size_t>> data;  // the IDAT chunks' data, in order
  size_t dataBytes = 0;
};

// The file's chunks, when it is a common PNG whose critical chunks are whole.
std::optional<Layout> readLayout(const uint8_t* file, size_t size) {
  if (sniff(file, size) != Format::png) return std::nullopt;
  Layout layout;
  bool sawHeader = false, sawEnd = false, dataEnded = false;
  size_t at = 8;
  while (!sawEnd) {
    if (size - at < 12) return std::nullopt;
    const uint32_t length = readBigEndian32(file + at);
    if (length > 0x7FFFFFFF || size - at - 12 < length) return std::nullopt;
    const uint8_t* chunk = file + at;
    const uint8_t* type = chunk + 4;
    const uint8_t* body = chunk + 8;
    const bool critical = (type[0] & 0x20) == 0;
    if (!sawHeader) {
      // IHDR: width, height, bit depth 8, colour type 2 (RGB) or 6 (RGBA), methods 0, no interlace.
      if (!isType(type, "IHDR") || length != 13 || !crcMatches(chunk, length)) return std::nullopt;
      layout.width = readBigEndian32(body);
      layout.height = readBigEndian32(body + 4);
      if (!acceptableSize(layout.width, layout.height) || body[8] != 8 || (body[9] != 2 && body[9] != 6) ||
          body[10] != 0 || body[11] != 0 || body[12] != 0)
        return std::nullopt;
      layout.pixelBytes = body[9] == 6 ? 4 : 3;
      sawHeader = true;
    } else if (isType(type, "IDAT")) {
      if (dataEnded || !crcMatches(chunk, length)) return std::nullopt;
      layout.data.emplace_back(body, length);
      layout.dataBytes += length;
    } else if (isType(type, "IEND")) {
      if (length != 0 || !crcMatches(chunk, length)) return std::nullopt;
      sawEnd = true;
    } else if (critical || isType(type, "tRNS")) {
      return std::nullopt;  // a palette, a chunk we don't know, or transparency to apply
    } else if (!layout.data.empty()) {
      dataEnded = true;  // the IDAT chunks must follow one another
    }
    at += 12 + size_t(length);
  }
  if (layout.data.empty()) return std::nullopt;
  return layout;
}

struct FreeDecompressor {
  void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};

}  // namespace

std::optional<RGBAPixels> decodeCommonPNG(const uint8_t* file, size_t size) {
  if (!file) return std::nullopt;
  std::optional<Layout> layout = readLayout(file, size);
  if (!layout) return std::nullopt;
  const size_t rowBytes = size_t(layout->width) * size_t(layout->pixelBytes);
  const size_t filteredBytes = (rowBytes + 1) * layout->height;

  // The stream in one piece: the single IDAT most encoders write, or the chunks joined.
  const uint8_t* stream = layout->data.front().first;
  ScratchBuffer joined;
  if (layout->data.size() > 1) {
    joined = ScratchBuffers::take(layout->dataBytes);
    if (!joined) return std::nullopt;
    size_t offset = 0;
    for (const auto& [bytes, length] : layout->data) {
      std::memcpy(joined.data() + offset, bytes, length);
      offset += length;
    }
    stream = joined.data();
  }
  ScratchBuffer filtered = ScratchBuffers::take(filteredBytes);
  std::unique_ptr<libdeflate_decompressor, FreeDecompressor> inflater(libdeflate_alloc_decompressor());
  if (!filtered || !inflater) return std::nullopt;
  size_t streamUsed = 0, inflated = 0;
  if (libdeflate_zlib_decompress_ex(inflater.get(), stream, layout->dataBytes, filtered.data(), filteredBytes,
                                    &streamUsed, &inflated) != LIBDEFLATE_SUCCESS ||
      streamUsed != layout->dataBytes || inflated != filteredBytes)
    return std::nullopt;

  auto pixels = RGBAPixels::allocate(layout->width, layout->height);
  if (!pixels) return std::nullopt;
  // Each row goes straight into the output, the row above read back from there.
  const std::vector<uint8_t> zeros(size_t(layout->width) * 4, 0);
  const uint8_t* above = zeros.data();
  constexpr uint8_t paeth = 4;
  for (uint32_t y = 0; y < layout->height; ++y) {
    const uint8_t* filteredRow = filtered.data() + size_t(y) * (rowBytes + 1);
    uint8_t* out = pixels->row(int(y));
    const uint8_t* filteredBelow = filteredRow + rowBytes + 1;
    if (y + 1 < layout->height && filteredRow[0] == paeth && filteredBelow[0] == paeth) {
      uint8_t* outBelow = pixels->row(int(y + 1));
      PNGUnfilter::paethRows(filteredRow + 1, filteredBelow + 1, out, outBelow, above, layout->width,
                             layout->pixelBytes);
      above = outBelow;
      ++y;
      continue;
    }
    if (!PNGUnfilter::row(filteredRow[0], filteredRow + 1, out, above, layout->width, layout->pixelBytes))
      return std::nullopt;
    above = out;
  }
  return pixels;
}

}  // namespace vorno::codecs
