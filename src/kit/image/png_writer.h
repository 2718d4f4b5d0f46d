// PNGWriter: our own PNG encoder, the one on every export's hot path. Opaque images become RGB
// (colour type 2, no alpha channel) and others RGBA with straight alpha (colour type 6), 8 bits a
// channel, exactly the image's size, in one zlib stream made by libdeflate in one call. The filter
// and the level are picked by measuring the picture: a few strips of its rows are compressed
// filtered each way, and the whole picture gets the way that packed them smallest for its cost.
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
/// none, Up or the best for each row, whichever packs a sample of the rows smallest for its cost.
enum class Filter { none, sub, up, adaptive, automatic };

/// The level by the picture: `calmLevel` for calm pictures filtered Up, level 1 for the others
/// (levelFor).
constexpr int automaticLevel = -1;
/// A sample that shrinks below this share of its size marks a calm picture.
constexpr double busyRatio = 0.12;
/// The level of calm pictures filtered Up.
constexpr int calmLevel = 2;

struct Options {
  int level = automaticLevel;  ///< libdeflate level, 0 (stored) ... 12, or automaticLevel
  Filter filter = Filter::automatic;
};

/// What a sample of a picture's rows says: the filter for all its rows, and how far the sample's
/// rows so filtered shrink at level 1 (compressed size over size).
struct Sample {
  Filter filter = Filter::adaptive;
  double ratio = 1;
};

/// The level `automaticLevel` picks for that sample: `calmLevel` for a calm picture filtered Up,
/// where it is both smaller and faster than level 1; level 1 otherwise.
int levelFor(const Sample& sample);

/// The sample `automatic` goes by for this picture: a few strips of rows spread down it, each way
/// filtered and compressed at level 1 (png_writer.cc says how the filter is chosen).
Sample measure(const Image& image);

/// Whether every pixel is opaque: always for an RGB24 image, by a scan of alpha otherwise.
bool isOpaque(const Image& image);

/// The pixels as PNG rows without filter bytes: R G B (opaque) or R G B A with straight alpha,
/// rows top to bottom, unpadded. Nothing when memory runs out.
std::optional<std::vector<uint8_t>> packedRows(const Image& image, bool withAlpha);

/// The whole PNG file; nothing for a null image or when memory runs out.
std::optional<std::vector<uint8_t>> encode(const Image& image, Options options = {});

}  // namespace vorno::PNGWriter
