// The loops are plain byte loops with no branches inside, written so that the compiler turns
// them into vector code (this file is built with loop vectorisation on; see CMakeLists.txt).
#include "kit/image/png_row_filters.h"

#include <algorithm>
#include <cstring>

namespace vorno::PNGRowFilters {
namespace {

void subRow(const uint8_t* row, size_t rowBytes, int channels, uint8_t* out) {
  for (int i = 0; i < channels; ++i) out[i] = row[i];
  for (size_t i = channels; i < rowBytes; ++i) out[i] = uint8_t(row[i] - row[i - channels]);
}

void upRow(const uint8_t* row, const uint8_t* above, size_t rowBytes, uint8_t* out) {
  for (size_t i = 0; i < rowBytes; ++i) out[i] = uint8_t(row[i] - above[i]);
}

void averageRow(const uint8_t* row, const uint8_t* above, size_t rowBytes, int channels, uint8_t* out) {
  for (int i = 0; i < channels; ++i) out[i] = uint8_t(row[i] - (above[i] >> 1));
  for (size_t i = channels; i < rowBytes; ++i)
    out[i] = uint8_t(row[i] - ((unsigned(row[i - channels]) + unsigned(above[i])) >> 1));
}

inline int absolute(int v) { return v < 0 ? -v : v; }

void paethRow(const uint8_t* row, const uint8_t* above, size_t rowBytes, int channels, uint8_t* out) {
  // Left of the first pixel, a and c are zero, so the guess is the byte above.
  for (int i = 0; i < channels; ++i) out[i] = uint8_t(row[i] - above[i]);
  for (size_t i = channels; i < rowBytes; ++i) {
    const int a = row[i - channels], b = above[i], c = above[i - channels];
    const int pa = absolute(b - c), pb = absolute(a - c), pc = absolute(a + b - 2 * c);
    const int guess = (pa <= pb && pa <= pc) ? a : (pb <= pc ? b : c);
    out[i] = uint8_t(row[i] - guess);
  }
}

}  // namespace

void apply(Type type, const uint8_t* row, const uint8_t* above, size_t rowBytes, int channels, uint8_t* out) {
  switch (type) {
    case none: std::memcpy(out, row, rowBytes); return;
    case sub: subRow(row, rowBytes, channels, out); return;
    case up: upRow(row, above, rowBytes, out); return;
    case average: averageRow(row, above, rowBytes, channels, out); return;
    case paeth: paethRow(row, above, rowBytes, channels, out); return;
  }
}

namespace {

// The magnitude the filter would give bytes [from, to) of the row, without writing them; `from`
// is at least `channels`, so every byte has a left neighbour (`none` reads the row alone).
uint64_t magnitudeOf(Type type, const uint8_t* row, const uint8_t* above, size_t from, size_t to, int channels) {
  // In bytes: a filtered byte d is |d| as signed when read as min(d, 256 - d), which the
  // compiler turns into byte-wide vector minimums.
  uint32_t sum = 0;
  auto add = [&sum](uint8_t d) { sum += std::min<uint8_t>(d, uint8_t(-d)); };
  switch (type) {
    case none:
      for (size_t i = from; i < to; ++i) add(row[i]);
      break;
    case sub:
      for (size_t i = from; i < to; ++i) add(uint8_t(row[i] - row[i - channels]));
      break;
    case up:
      for (size_t i = from; i < to; ++i) add(uint8_t(row[i] - above[i]));
      break;
    case average:
      for (size_t i = from; i < to; ++i) add(uint8_t(row[i] - ((unsigned(row[i - channels]) + above[i]) >> 1)));
      break;
    case paeth:
      for (size_t i = from; i < to; ++i) {
        const int a = row[i - channels], b = above[i], c = above[i - channels];
        const int pa = absolute(b - c), pb = absolute(a - c), pc = absolute(a + b - 2 * c);
        add(uint8_t(row[i] - ((pa <= pb && pa <= pc) ? a : (pb <= pc ? b : c))));
      }
      break;
  }
  return sum;
}

// The magnitude over a quarter of the row: blocks of 64 bytes, every fourth one, spread across
// it. Rows change slowly across, so the sample ranks the filters as the whole row would at a
// quarter of the work.
uint64_t estimate(Type type, const uint8_t* row, const uint8_t* above, size_t rowBytes, int channels) {
  constexpr size_t block = 64, every = 4;
  if (rowBytes <= block * every) return magnitudeOf(type, row, above, channels, rowBytes, channels);
  uint64_t sum = 0;
  for (size_t start = block; start < rowBytes; start += block * every)
    sum += magnitudeOf(type, row, above, start, std::min(start + block, rowBytes), channels);
  return sum;
}

}  // namespace

uint64_t magnitude(const uint8_t* filtered, size_t rowBytes) {
  return magnitudeOf(none, filtered, nullptr, 0, rowBytes, 0);
}

Type applyBest(const uint8_t* row, const uint8_t* above, size_t rowBytes, int channels, uint8_t* out) {
  // A row equal to the one above (flat backgrounds, margins) filters to zeros with Up, which
  // nothing beats.
  if (std::memcmp(row, above, rowBytes) == 0) {
    std::memset(out, 0, rowBytes);
    return up;
  }
  Type chosen = up;
  uint64_t best = estimate(up, row, above, rowBytes, channels);
  for (Type type : {sub, paeth, average, none}) {
    const uint64_t m = estimate(type, row, above, rowBytes, channels);
    if (m < best) best = m, chosen = type;
  }
  apply(chosen, row, above, rowBytes, channels, out);
  return chosen;
}

}  // namespace vorno::PNGRowFilters
