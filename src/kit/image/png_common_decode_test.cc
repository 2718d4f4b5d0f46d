// The one-pass decoder of common PNGs gives the pixels that were encoded, for every filter, both
// channel counts and any chunking of the stream, the same as libspng does; and it declines every
// file it doesn't fully understand, which decodePNG then hands to libspng.
#include "kit/image/codecs.h"

#include <gtest/gtest.h>
#include <libdeflate.h>
#include <spng.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace vorno::png_common_decode_test {
namespace {

using namespace codecs;
using Bytes = std::vector<uint8_t>;

void putWord(Bytes& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(value >> shift));
}

void putChunk(Bytes& out, const char* type, const Bytes& body) {
  putWord(out, uint32_t(body.size()));
  Bytes typed(type, type + 4);
  typed.insert(typed.end(), body.begin(), body.end());
  out.insert(out.end(), typed.begin(), typed.end());
  putWord(out, libdeflate_crc32(0, typed.data(), typed.size()));
}

uint8_t paethPredictor(int a, int b, int c) {
  const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
  return uint8_t(pa <= pb && pa <= pc ? a : pb <= pc ? b : c);
}

// A picture to encode: its pixels (`channels` bytes each) and a filter for each row.
struct Picture {
  uint32_t width = 0, height = 0;
  int channels = 3;
  Bytes pixels;
  std::vector<uint8_t> filters;  // row y uses filters[y % size]

  // The rows as a PNG stores them, each after its filter byte, filtered as the spec defines.
  Bytes filteredRows() const {
    const size_t rowBytes = size_t(width) * channels;
    Bytes out;
    for (uint32_t y = 0; y < height; ++y) {
      const uint8_t filter = filters[y % filters.size()];
      out.push_back(filter);
      const uint8_t* row = pixels.data() + y * rowBytes;
      const uint8_t* above = y > 0 ? row - rowBytes : nullptr;
      for (size_t i = 0; i < rowBytes; ++i) {
        const int a = i >= size_t(channels) ? row[i - channels] : 0;
        const int b = above ? above[i] : 0;
        const int c = above && i >= size_t(channels) ? above[i - channels] : 0;
        const int predictor = filter == 1 ? a : filter == 2 ? b : filter == 3 ? (a + b) / 2 : filter == 4 ? paethPredictor(a, b, c) : 0;
        out.push_back(uint8_t(row[i] - predictor));
      }
    }
    return out;
  }

  // The pixels as the decoder gives them: RGBA, opaque when the picture has no alpha.
  Bytes rgba() const {
    Bytes out;
    for (size_t p = 0; p < size_t(width) * height; ++p) {
      for (int k = 0; k < channels; ++k) out.push_back(pixels[p * channels + k]);
      if (channels == 3) out.push_back(0xFF);
    }
    return out;
  }
};

Picture randomPicture(uint32_t width, uint32_t height, int channels, std::vector<uint8_t> filters, unsigned seed) {
  std::mt19937 random(seed);
  Picture picture{width, height, channels, {}, std::move(filters)};
  // Runs of equal bytes between noise, so the stream compresses as screenshots do.
  for (size_t i = 0; i < size_t(width) * height * channels; ++i)
    picture.pixels.push_back(random() % 3 == 0 ? uint8_t(random()) : uint8_t(200 + i % 7));
  return picture;
}

Bytes zlibStream(const Bytes& raw) {
  libdeflate_compressor* compressor = libdeflate_alloc_compressor(6);
  Bytes out(libdeflate_zlib_compress_bound(compressor, raw.size()));
  out.resize(libdeflate_zlib_compress(compressor, raw.data(), raw.size(), out.data(), out.size()));
  libdeflate_free_compressor(compressor);
  return out;
}

Bytes header(uint32_t width, uint32_t height, uint8_t depth, uint8_t colorType, uint8_t interlace = 0) {
  Bytes body;
  putWord(body, width);
  putWord(body, height);
  body.insert(body.end(), {depth, colorType, 0, 0, interlace});
  return body;
}

struct Options {
  size_t chunks = 1;           // IDAT chunks the stream is cut into
  Bytes beforeData;            // whole chunks between IHDR and the first IDAT
  Bytes betweenData;           // whole chunks after the first IDAT (when there are several)
  bool end = true;
};

Bytes encode(const Picture& picture, const Bytes& stream, const Options& options = {}) {
  Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  putChunk(file, "IHDR", header(picture.width, picture.height, 8, picture.channels == 4 ? 6 : 2));
  file.insert(file.end(), options.beforeData.begin(), options.beforeData.end());
  for (size_t k = 0; k < options.chunks; ++k) {
    putChunk(file, "IDAT",
             Bytes(stream.begin() + long(k * stream.size() / options.chunks),
                   stream.begin() + long((k + 1) * stream.size() / options.chunks)));
    if (k == 0) file.insert(file.end(), options.betweenData.begin(), options.betweenData.end());
  }
  if (options.end) putChunk(file, "IEND", {});
  return file;
}

Bytes encode(const Picture& picture, const Options& options = {}) {
  return encode(picture, zlibStream(picture.filteredRows()), options);
}

Bytes chunkBytes(const char* type, const Bytes& body) {
  Bytes out;
  putChunk(out, type, body);
  return out;
}

Bytes spngRGBA(const Bytes& file) {
  spng_ctx* ctx = spng_ctx_new(0);
  spng_set_png_buffer(ctx, file.data(), file.size());
  size_t length = 0;
  Bytes out;
  if (spng_decoded_image_size(ctx, SPNG_FMT_RGBA8, &length) == 0) {
    out.resize(length);
    if (spng_decode_image(ctx, out.data(), length, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != 0) out.clear();
  }
  spng_ctx_free(ctx);
  return out;
}

Bytes pixelsOf(const RGBAPixels& pixels) { return Bytes(pixels.bytes.get(), pixels.bytes.get() + pixels.byteCount()); }

TEST(PNGCommonDecode, EveryFilterOnEveryRowGivesTheEncodedPixelsAsLibspngDoes) {
  for (int channels : {3, 4})
    for (uint32_t width : {1u, 2u, 3u, 5u, 17u, 64u})
      for (uint8_t filter = 0; filter <= 4; ++filter) {
        const Picture picture = randomPicture(width, 6, channels, {filter}, width * 10 + filter);
        const Bytes file = encode(picture);
        auto decoded = decodeCommonPNG(file.data(), file.size());
        const std::string what = std::to_string(channels) + " channels, width " + std::to_string(width) + ", filter " +
                                 std::to_string(filter);
        ASSERT_TRUE(decoded) << what;
        EXPECT_EQ(decoded->width, int(width));
        EXPECT_EQ(decoded->height, 6);
        EXPECT_FALSE(decoded->premultiplied);
        EXPECT_EQ(pixelsOf(*decoded), picture.rgba()) << what;
        EXPECT_EQ(pixelsOf(*decoded), spngRGBA(file)) << what;
      }
}

TEST(PNGCommonDecode, FiltersChangingFromRowToRowAndAStreamInManyChunks) {
  for (int channels : {3, 4}) {
    const Picture picture = randomPicture(31, 23, channels, {4, 0, 3, 1, 2, 4, 4, 3}, unsigned(channels));
    for (size_t chunks : {1u, 2u, 7u}) {
      const Bytes file = encode(picture, {.chunks = chunks, .beforeData = chunkBytes("gAMA", {0, 0, 0xB1, 0x8F})});
      auto decoded = decodeCommonPNG(file.data(), file.size());
      ASSERT_TRUE(decoded) << chunks << " chunks";
      EXPECT_EQ(pixelsOf(*decoded), picture.rgba()) << chunks << " chunks";
    }
  }
}

TEST(PNGCommonDecode, PaethTiesGoToTheLeftThenAbove) {
  // Rows where the three neighbours are equally near, or two of them are: the spec's order decides.
  Picture picture{4, 3, 4, {}, {0, 4, 4}};
  picture.pixels = {10, 10, 10, 10, 20, 20, 20, 20, 10, 10, 10, 10, 20, 20, 20, 20,  //
                    20, 20, 20, 20, 10, 10, 10, 10, 20, 20, 20, 20, 10, 10, 10, 10,  //
                    10, 20, 30, 40, 10, 20, 30, 40, 30, 20, 10, 0,  15, 15, 15, 15};
  const Bytes file = encode(picture);
  auto decoded = decodeCommonPNG(file.data(), file.size());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(pixelsOf(*decoded), picture.rgba());
}

TEST(PNGCommonDecode, DeclinesWhatItDoesNotHandleAndDecodePNGStillReadsIt) {
  const Picture picture = randomPicture(9, 4, 3, {1}, 3);
  const Bytes stream = zlibStream(picture.filteredRows());
  // A transparency key: libspng applies it.
  const Bytes keyed = encode(picture, stream, {.beforeData = chunkBytes("tRNS", {0, 200, 0, 201, 0, 202})});
  EXPECT_FALSE(decodeCommonPNG(keyed.data(), keyed.size()));
  auto viaSpng = decodePNG(keyed.data(), keyed.size());
  ASSERT_TRUE(viaSpng);
  EXPECT_EQ(pixelsOf(*viaSpng), spngRGBA(keyed));

  // 16 bits a channel, a palette, grey, interlacing: other IHDRs.
  for (const Bytes& otherHeader : {header(9, 4, 16, 2), header(9, 4, 8, 3), header(9, 4, 8, 0), header(9, 4, 8, 2, 1)}) {
    Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    putChunk(file, "IHDR", otherHeader);
    putChunk(file, "IDAT", stream);
    putChunk(file, "IEND", {});
    EXPECT_FALSE(decodeCommonPNG(file.data(), file.size()));
  }
}

TEST(PNGCommonDecode, DeclinesEveryDamagedFile) {
  const Picture picture = randomPicture(12, 8, 4, {4, 2}, 5);
  const Bytes stream = zlibStream(picture.filteredRows());
  const Bytes good = encode(picture, stream, {.chunks = 2});
  ASSERT_TRUE(decodeCommonPNG(good.data(), good.size()));

  std::vector<std::pair<std::string, Bytes>> damaged;
  Bytes badDataCRC = good;
  badDataCRC[8 + 25 + 10] ^= 0x01;  // a byte of the first IDAT's data
  damaged.emplace_back("a byte of the data", badDataCRC);
  Bytes badHeaderCRC = good;
  badHeaderCRC[8 + 8 + 3] ^= 0x01;  // the width, under the IHDR's CRC
  damaged.emplace_back("the header's width", badHeaderCRC);
  Bytes headerCRC = good;
  headerCRC[8 + 8 + 13] ^= 0x01;  // the IHDR's CRC itself, its content intact
  damaged.emplace_back("the header's CRC", headerCRC);
  Bytes dataCRC = good;
  const size_t firstData = 8 + 25;
  dataCRC[firstData + 8 + ((size_t(dataCRC[firstData + 2]) << 8) | dataCRC[firstData + 3])] ^= 0x01;
  damaged.emplace_back("the data's CRC", dataCRC);
  damaged.emplace_back("the file cut short", Bytes(good.begin(), good.end() - 20));
  damaged.emplace_back("no IEND", encode(picture, stream, {.end = false}));
  const Bytes rows = picture.filteredRows();
  const Bytes shortStream = zlibStream(Bytes(rows.begin(), rows.end() - 5));
  damaged.emplace_back("a row too few", encode(picture, shortStream));
  Bytes extra = rows;
  extra.insert(extra.end(), {0, 0, 0});
  damaged.emplace_back("bytes beyond the rows", encode(picture, zlibStream(extra)));
  Bytes trailing = stream;
  trailing.insert(trailing.end(), {1, 2, 3});
  damaged.emplace_back("bytes after the stream", encode(picture, trailing));
  Bytes badAdler = stream;
  badAdler.back() ^= 0x01;
  damaged.emplace_back("the stream's checksum", encode(picture, badAdler));
  Bytes badFilter = rows;
  badFilter[0] = 5;
  damaged.emplace_back("a filter of 5", encode(picture, zlibStream(badFilter)));
  damaged.emplace_back("a critical chunk unknown", encode(picture, stream, {.beforeData = chunkBytes("XYZW", {1})}));
  damaged.emplace_back("the data interrupted",
                       encode(picture, stream, {.chunks = 2, .betweenData = chunkBytes("tEXt", {'a', 0, 'b'})}));
  for (const auto& [what, file] : damaged) {
    EXPECT_FALSE(decodeCommonPNG(file.data(), file.size())) << what;
    // And for each, decodePNG answers as libspng does.
    auto decoded = decodePNG(file.data(), file.size());
    EXPECT_EQ(decoded ? pixelsOf(*decoded) : Bytes(), spngRGBA(file)) << what;
  }
  for (size_t length = 0; length < good.size(); length += 7)
    EXPECT_FALSE(decodeCommonPNG(good.data(), length)) << length << " bytes";
}

TEST(PNGCommonDecode, AnAncillaryChunkWithABadCRCIsIgnoredAsLibspngDoes) {
  const Picture picture = randomPicture(6, 3, 3, {2}, 9);
  Bytes text = chunkBytes("tEXt", {'k', 0, 'v'});
  text.back() ^= 0xFF;
  const Bytes file = encode(picture, Options{.beforeData = text});
  auto decoded = decodeCommonPNG(file.data(), file.size());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(pixelsOf(*decoded), picture.rgba());
  EXPECT_EQ(pixelsOf(*decoded), spngRGBA(file));
}

}  // namespace
}  // namespace vorno::png_common_decode_test
