// TIFF through libtiff, read from memory by client procedures. libtiff's RGBA interface handles
// every photometric, bit depth and layout it knows, and gives alpha premultiplied; the first
// directory is the image.
//
// libtiff prints warnings and errors through global handlers; they are silenced once, since
// standard output may belong to the protocol and a damaged file is simply "not an image".
#include "kit/image/codecs.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <mutex>

namespace vorno::codecs {
namespace {

void silenceLibtiff() {
  static std::once_flag once;
  std::call_once(once, [] {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
  });
}

struct MemoryFile {
  const uint8_t* data;
  toff_t size;
  toff_t position = 0;
};

tmsize_t readMemory(thandle_t handle, void* buffer, tmsize_t count) {
  auto* file = static_cast<MemoryFile*>(handle);
  if (count <= 0 || file->position >= file->size) return 0;
  toff_t n = std::min<toff_t>(static_cast<toff_t>(count), file->size - file->position);
  std::memcpy(buffer, file->data + file->position, n);
  file->position += n;
  return static_cast<tmsize_t>(n);
}

tmsize_t writeNothing(thandle_t, void*, tmsize_t) { return 0; }

toff_t seekMemory(thandle_t handle, toff_t offset, int whence) {
  auto* file = static_cast<MemoryFile*>(handle);
  toff_t base = whence == SEEK_CUR ? file->position : whence == SEEK_END ? file->size : 0;
  file->position = base + offset;
  return file->position;
}

int closeNothing(thandle_t) { return 0; }
toff_t memorySize(thandle_t handle) { return static_cast<MemoryFile*>(handle)->size; }
int mapNothing(thandle_t, void**, toff_t*) { return 0; }
void unmapNothing(thandle_t, void*, toff_t) {}

using TiffPtr = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

}  // namespace

std::optional<RGBAPixels> decodeTIFF(const uint8_t* data, size_t size) {
  silenceLibtiff();
  MemoryFile file{data, static_cast<toff_t>(size)};
  TiffPtr tiff(TIFFClientOpen("memory", "rm", &file, readMemory, writeNothing, seekMemory, closeNothing, memorySize,
                              mapNothing, unmapNothing),
               &TIFFClose);
  if (!tiff) return std::nullopt;
  uint32_t width = 0, height = 0;
  if (!TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width) || !TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height))
    return std::nullopt;
  auto pixels = RGBAPixels::allocate(width, height);
  if (!pixels) return std::nullopt;
  char message[1024];
  if (!TIFFRGBAImageOK(tiff.get(), message)) return std::nullopt;
  // The raster is 32-bit words of A, B, G, R from the top bit down, which in memory on a
  // little-endian machine is R, G, B, A: the buffer's own order.
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the TIFF raster is read as RGBA bytes");
  if (!TIFFReadRGBAImageOriented(tiff.get(), width, height, reinterpret_cast<uint32_t*>(pixels->bytes.get()),
                                 ORIENTATION_TOPLEFT, 0))
    return std::nullopt;
  pixels->premultiplied = true;
  return pixels;
}

std::optional<Size> tiffSize(const std::string& path) {
  silenceLibtiff();
  // "m": no memory mapping; libtiff reads the header and the first directory only.
  TiffPtr tiff(TIFFOpen(path.c_str(), "rm"), &TIFFClose);
  if (!tiff) return std::nullopt;
  uint32_t width = 0, height = 0;
  if (!TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width) || !TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height) ||
      width == 0 || height == 0)
    return std::nullopt;
  return Size{double(width), double(height)};
}

}  // namespace vorno::codecs
