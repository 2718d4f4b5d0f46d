// PNGWriter: our own PNG encoder, the one on every export's hot path. Opaque images become RGB
// (colour type 2, no alpha channel) and others RGBA with straight alpha (colour type 6), 8 bits a
// channel, exactly the image's size, with a single fixed row filter and one zlib stream made by
// libdeflate in one call.
//
//   std::vector<uint8_t> png = PNGWriter::encode(image);        // the chosen level and filter
//   PNGWriter::encode(image, {.level = 1, .filter = PNGWriter::Filter::sub});
//
// The row preparation is public so that benchmarks can feed the same rows to other encoders.
#pragma once

#include "kit/image/image.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vorno::PNGWriter {

enum class Filter { none, sub, up };

/// Level 1 for busy pictures, 2 for mostly flat ones: what the measurements favour (png_writer.cc).
constexpr int automaticLevel = -1;

struct Options {
  int level = automaticLevel;  ///< libdeflate level, 0 (stored) ... 12, or automaticLevel
  Filter filter = Filter::sub;
};

/// The level `automaticLevel` picks when `zeroFraction` of the filtered bytes are zero.
int levelFor(double zeroFraction);

/// Whether every pixel is opaque: always for an RGB24 image, by a scan of alpha otherwise.
bool isOpaque(const Image& image);

/// The pixels as PNG rows without filter bytes: R G B (opaque) or R G B A with straight alpha,
/// rows top to bottom, unpadded. Nothing when memory runs out.
std::optional<std::vector<uint8_t>> packedRows(const Image& image, bool withAlpha);

/// The whole PNG file; nothing for a null image or when memory runs out.
std::optional<std::vector<uint8_t>> encode(const Image& image, Options options = {});

}  // namespace vorno::PNGWriter
