// Test-only: small image files made with the same libraries the decoders use, so that every
// decoder is tested against its own format's writer.
#pragma once

#include <jpeglib.h>
#include <libheif/heif.h>
#include <spng.h>
#include <tiffio.h>
#include <webp/encode.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace vorno::testing {

/// Straight RGBA rows of `width` × `height` pixels, from a colour function.
template <class F>
std::vector<uint8_t> rgbaPixels(int width, int height, F color) {
  std::vector<uint8_t> out;
  out.reserve(size_t(width) * height * 4);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      auto c = color(x, y);
      out.insert(out.end(), c.begin(), c.end());
    }
  return out;
}

inline std::vector<uint8_t> encodePNG(int width, int height, uint8_t colorType, const std::vector<uint8_t>& pixels) {
  spng_ctx* context = spng_ctx_new(SPNG_CTX_ENCODER);
  spng_set_option(context, SPNG_ENCODE_TO_BUFFER, 1);
  spng_ihdr header{};
  header.width = static_cast<uint32_t>(width);
  header.height = static_cast<uint32_t>(height);
  header.bit_depth = 8;
  header.color_type = colorType;
  spng_set_ihdr(context, &header);
  int error = spng_encode_image(context, pixels.data(), pixels.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
  size_t size = 0;
  void* bytes = error == 0 ? spng_get_png_buffer(context, &size, &error) : nullptr;
  std::vector<uint8_t> out;
  if (bytes) out.assign(static_cast<uint8_t*>(bytes), static_cast<uint8_t*>(bytes) + size);
  free(bytes);
  spng_ctx_free(context);
  return out;
}

inline std::vector<uint8_t> encodeRGBAPNG(int width, int height, const std::vector<uint8_t>& rgba) {
  return encodePNG(width, height, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA, rgba);
}

/// A baseline JPEG of one colour.
inline std::vector<uint8_t> encodeJPEG(int width, int height, int components, const std::vector<uint8_t>& pixel) {
  jpeg_compress_struct info{};
  jpeg_error_mgr error{};
  info.err = jpeg_std_error(&error);
  jpeg_create_compress(&info);
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &buffer, &size);
  info.image_width = static_cast<JDIMENSION>(width);
  info.image_height = static_cast<JDIMENSION>(height);
  info.input_components = components;
  info.in_color_space = components == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, 95, TRUE);
  jpeg_start_compress(&info, TRUE);
  std::vector<uint8_t> row;
  for (int x = 0; x < width; ++x) row.insert(row.end(), pixel.begin(), pixel.end());
  while (info.next_scanline < info.image_height) {
    JSAMPROW rows[1] = {row.data()};
    jpeg_write_scanlines(&info, rows, 1);
  }
  jpeg_finish_compress(&info);
  std::vector<uint8_t> out(buffer, buffer + size);
  jpeg_destroy_compress(&info);
  free(buffer);
  return out;
}

inline std::vector<uint8_t> encodeWebP(int width, int height, const std::vector<uint8_t>& rgba, bool lossless) {
  uint8_t* output = nullptr;
  size_t size = lossless ? WebPEncodeLosslessRGBA(rgba.data(), width, height, width * 4, &output)
                         : WebPEncodeRGBA(rgba.data(), width, height, width * 4, 90, &output);
  std::vector<uint8_t> out(output, output + size);
  WebPFree(output);
  return out;
}

/// An 8-bit RGBA TIFF with unassociated alpha, written with libtiff to `path`.
inline bool writeTIFF(const std::string& path, int width, int height, const std::vector<uint8_t>& rgba) {
  TIFF* tiff = TIFFOpen(path.c_str(), "w");
  if (!tiff) return false;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, uint32_t(width));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, uint32_t(height));
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, uint16_t(4));
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, uint16_t(8));
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, uint16_t(PHOTOMETRIC_RGB));
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, uint16_t(PLANARCONFIG_CONTIG));
  uint16_t extra[1] = {EXTRASAMPLE_UNASSALPHA};
  TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, uint16_t(1), extra);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, uint32_t(height));
  bool ok = true;
  for (int y = 0; y < height && ok; ++y)
    ok = TIFFWriteScanline(tiff, const_cast<uint8_t*>(rgba.data()) + size_t(y) * width * 4, uint32_t(y), 0) >= 0;
  TIFFClose(tiff);
  return ok;
}

/// A HEIC file of one opaque colour, through libheif's HEVC encoder; false when this libheif
/// has no HEVC encoder.
inline bool writeHEIC(const std::string& path, int width, int height, uint8_t r, uint8_t g, uint8_t b) {
  heif_context* context = heif_context_alloc();
  heif_encoder* encoder = nullptr;
  if (heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code != heif_error_Ok) {
    heif_context_free(context);
    return false;
  }
  heif_encoder_set_lossy_quality(encoder, 90);
  heif_image* image = nullptr;
  heif_image_create(width, height, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image);
  heif_image_add_plane(image, heif_channel_interleaved, width, height, 8);
  int stride = 0;
  uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      uint8_t* p = plane + size_t(y) * stride + size_t(x) * 3;
      p[0] = r, p[1] = g, p[2] = b;
    }
  bool ok = heif_context_encode_image(context, image, encoder, nullptr, nullptr).code == heif_error_Ok &&
            heif_context_write_to_file(context, path.c_str()).code == heif_error_Ok;
  heif_image_release(image);
  heif_encoder_release(encoder);
  heif_context_free(context);
  return ok;
}

}  // namespace vorno::testing
