// PNGWriter: our own PNG encoder, the one on every export's hot path. Opaque images become RGB
// (colour type 2, no alpha channel) and others RGBA with straight alpha (colour type 6), 8 bits a
// channel, exactly the image's size, in one zlib stream made by libdeflate in one call. The level
// and the filters are picked by measuring the picture: a calm one is filtered Up and compressed
// harder, a busy one gets the filter that suits each row and the fastest level.
//
//   std::vector<uint8_t> png = PNGWriter::encode(image);        // chosen filters and level
//   PNGWriter::encode(image, {.level = 1, .filter = PNGWriter::Filter::sub});
//
// The row preparation is public so that benchmarks can feed the same rows to other encoders.
#pragma once

#include "kit/image/image.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vorno::PNGWriter {

/// One filter for every row, the best for each row (`adaptive`), or by the picture (`automatic`):
/// Up for a calm one, where choosing per row gains about 1 % and costs a fifth of the encoding,
/// and the best for each row for a busy one.
enum class Filter { none, sub, up, adaptive, automatic };

/// Level 1 for busy pictures, `calmLevel` for calm ones, told apart by how well a sample of the
/// picture's rows compresses (png_writer.cc).
constexpr int automaticLevel = -1;
/// A sample that shrinks below this share of its size marks a calm picture.
constexpr double busyRatio = 0.12;
/// The level of calm pictures.
constexpr int calmLevel = 2;

struct Options {
  int level = automaticLevel;  ///< libdeflate level, 0 (stored) ... 12, or automaticLevel
  Filter filter = Filter::automatic;
};

/// The level `automaticLevel` picks when a sample of the rows, each filtered as suits it best,
/// compresses at level 1 to `sampleRatio` of its size.
int levelFor(double sampleRatio);
/// The filter `Filter::automatic` picks for that sample.
Filter filterFor(double sampleRatio);

/// Whether every pixel is opaque: always for an RGB24 image, by a scan of alpha otherwise.
bool isOpaque(const Image& image);

/// The pixels as PNG rows without filter bytes: R G B (opaque) or R G B A with straight alpha,
/// rows top to bottom, unpadded. Nothing when memory runs out.
std::optional<std::vector<uint8_t>> packedRows(const Image& image, bool withAlpha);

/// The whole PNG file; nothing for a null image or when memory runs out.
std::optional<std::vector<uint8_t>> encode(const Image& image, Options options = {});

}  // namespace vorno::PNGWriter
