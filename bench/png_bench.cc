// PNG encoding of store slides: our writer as the program uses it and at fixed settings, against
// libspng and libpng, each at its default and at a low level. Every case reports the file size as
// a counter, so speed and size are read side by side:
//
//   taskset -c 0 ./build/png_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
//
// Three 1320 x 2868 pictures, the argument `picture` of each case:
//   0 typical: the example package's first slide as the renderer draws it (gradient, copy, a
//     device around an interface capture);
//   1 photo: a vertical gradient, a headline and a subhead, and a rounded card with a photo-like
//     capture (smooth shapes, a soft vignette and sensor-like noise) under a few interface blocks;
//   2 flat: copy alone on a plain background;
//   3 gradient: the example's "paid" slide, whose background is a calm dithered gradient.
//
// And the mix an export writes (BM_ExampleSet): every slide of the example on each of its targets
// in English, 21 pictures of three sizes, written the writer's way and with each fixed filter at
// level 1 and 2; the counter is the bytes of the whole set.
//
// And decoding: three of the example's captures (RGB, mostly up and Paeth rows), read by our
// one-pass decoder of common PNGs against libspng's row-by-row decoding, both to RGBA.
#include "kit/image/canvas.h"
#include "kit/image/codecs.h"
#include "kit/image/images.h"
#include "kit/image/png_writer.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_project_store.h"
#include "kit/text/text_layout.h"
#include "kit/text/text_spec.h"

#include <benchmark/benchmark.h>
#include <cairo.h>
#include <png.h>
#include <spng.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

using namespace vorno;

Image makePhotoSlide() {
  const int W = 1320, H = 2868;
  Canvas canvas = Canvas::opaque(W, H);
  cairo_t* cr = canvas.context();
  cairo_pattern_t* ramp = cairo_pattern_create_linear(0, 0, 0, H);
  cairo_pattern_add_color_stop_rgb(ramp, 0, 0.10, 0.16, 0.42);
  cairo_pattern_add_color_stop_rgb(ramp, 1, 0.52, 0.22, 0.58);
  cairo_set_source(cr, ramp);
  cairo_paint(cr);
  cairo_pattern_destroy(ramp);

  // The capture: a photo-like picture inside a rounded card.
  const int cx = 150, cy = 820, cw = 1020, ch = 1900;
  cairo_surface_t* photo = cairo_image_surface_create(CAIRO_FORMAT_RGB24, cw, ch);
  {
    cairo_t* p = cairo_create(photo);
    cairo_pattern_t* sky = cairo_pattern_create_linear(0, 0, 0, ch);
    cairo_pattern_add_color_stop_rgb(sky, 0, 0.55, 0.75, 0.95);
    cairo_pattern_add_color_stop_rgb(sky, 0.55, 0.95, 0.85, 0.70);
    cairo_pattern_add_color_stop_rgb(sky, 1, 0.20, 0.35, 0.18);
    cairo_set_source(p, sky);
    cairo_paint(p);
    cairo_pattern_destroy(sky);
    for (int i = 0; i < 40; ++i) {
      double x = std::fmod(i * 397.0, cw), y = ch * 0.45 + std::fmod(i * 211.0, ch * 0.5);
      cairo_pattern_t* blob = cairo_pattern_create_radial(x, y, 0, x, y, 80 + (i % 7) * 30);
      cairo_pattern_add_color_stop_rgba(blob, 0, 0.1 + (i % 5) * 0.15, 0.4, 0.2 + (i % 3) * 0.2, 0.8);
      cairo_pattern_add_color_stop_rgba(blob, 1, 0.1, 0.3, 0.1, 0);
      cairo_set_source(p, blob);
      cairo_paint(p);
      cairo_pattern_destroy(blob);
    }
    // Interface chrome over the photo: a bar and list rows.
    cairo_set_source_rgba(p, 1, 1, 1, 0.92);
    cairo_rectangle(p, 0, 0, cw, 160);
    for (int r = 0; r < 5; ++r) cairo_rectangle(p, 40, 1000 + r * 150, cw - 80, 120);
    cairo_fill(p);
    cairo_destroy(p);
    cairo_surface_flush(photo);
    // Sensor-like noise of a few levels on every channel.
    uint8_t* data = cairo_image_surface_get_data(photo);
    int stride = cairo_image_surface_get_stride(photo);
    uint32_t seed = 7;
    for (int y = 0; y < ch; ++y)
      for (int x = 0; x < cw * 4; ++x) {
        if (x % 4 == 3) continue;
        seed = seed * 1664525 + 1013904223;
        int v = data[y * stride + x] + int(seed >> 29) - 4;
        data[y * stride + x] = uint8_t(std::clamp(v, 0, 255));
      }
    cairo_surface_mark_dirty(photo);
  }
  cairo_save(cr);
  double r = 90;
  cairo_new_sub_path(cr);
  cairo_arc(cr, cx + cw - r, cy + r, r, -M_PI / 2, 0);
  cairo_arc(cr, cx + cw - r, cy + ch - r, r, 0, M_PI / 2);
  cairo_arc(cr, cx + r, cy + ch - r, r, M_PI / 2, M_PI);
  cairo_arc(cr, cx + r, cy + r, r, M_PI, 1.5 * M_PI);
  cairo_close_path(cr);
  cairo_clip(cr);
  cairo_set_source_surface(cr, photo, cx, cy);
  cairo_paint(cr);
  cairo_restore(cr);
  cairo_surface_destroy(photo);

  // The copy.
  TextSpec headline;
  headline.text = "Plan your whole crew's day in one place";
  headline.size = 118;
  headline.weight = FontWeight::bold;
  headline.color = RGBColor{1, 1, 1, 1};
  TextLayout::draw(TextLayout::laid(headline, 1100), cr, 110, 260);
  TextSpec subhead = headline;
  subhead.text = "Shifts, tasks and messages stay in sync";
  subhead.size = 54;
  subhead.weight = FontWeight::regular;
  TextLayout::draw(TextLayout::laid(subhead, 1100), cr, 110, 620);
  return canvas.finish();
}

Image makeExampleSlide(const std::string& id) {
  const std::string root = std::string(VORNO_SOURCE_DIR) + "/examples/Demo.vorno";
  Project project = FileProjectStore(root).load();
  SlideRenderer renderer;
  for (const Slide& slide : project.slides)
    if (slide.id == id) return renderer.render(project, root, slide, StoreTarget::iphone69(), "en-US", 1.0).image;
  std::fprintf(stderr, "png_bench: the example has no slide %s\n", id.c_str());
  std::exit(1);
}

Image makeFlatSlide() {
  Canvas canvas = Canvas::opaque(1320, 2868);
  cairo_t* cr = canvas.context();
  cairo_set_source_rgb(cr, 0.98, 0.95, 0.90);
  cairo_paint(cr);
  TextSpec headline;
  headline.text = "Every invoice paid before the van is home";
  headline.size = 132;
  headline.weight = FontWeight::bold;
  headline.color = RGBColor{0.12, 0.12, 0.14, 1};
  TextLayout::draw(TextLayout::laid(headline, 1100), cr, 110, 900);
  TextSpec subhead = headline;
  subhead.text = "Send the quote on site, get paid by card the same afternoon, and see every open job in one list.";
  subhead.size = 58;
  subhead.weight = FontWeight::regular;
  subhead.color = RGBColor{0.35, 0.35, 0.38, 1};
  TextLayout::draw(TextLayout::laid(subhead, 1100), cr, 110, 1500);
  return canvas.finish();
}

const Image& slide(int64_t picture) {
  static Image images[4] = {makeExampleSlide("week"), makePhotoSlide(), makeFlatSlide(), makeExampleSlide("paid")};
  return images[picture];
}

// The example's every slide on each of its targets, in English.
const std::vector<Image>& exampleSet() {
  static const std::vector<Image> set = [] {
    const std::string root = std::string(VORNO_SOURCE_DIR) + "/examples/Demo.vorno";
    Project project = FileProjectStore(root).load();
    SlideRenderer renderer;
    std::vector<Image> pictures;
    for (const std::string& id : project.targets)
      if (const StoreTarget* target = StoreTarget::named(id))
        for (const Slide& slide : project.slides)
          pictures.push_back(renderer.render(project, root, slide, *target, "en-US", 1.0).image);
    return pictures;
  }();
  return set;
}

// Arguments: the level (-1: the encoder's own choice, with its own filters), then the filter.
void BM_ExampleSet(benchmark::State& state) {
  const std::vector<Image>& set = exampleSet();
  const PNGWriter::Options options{.level = int(state.range(0)), .filter = PNGWriter::Filter(state.range(1))};
  size_t size = 0;
  for (auto _ : state) {
    size = 0;
    for (const Image& image : set) {
      auto png = PNGWriter::encode(image, options);
      size += png ? png->size() : 0;
    }
  }
  state.counters["bytes"] = double(size);
  state.counters["pictures"] = double(set.size());
}
constexpr int64_t automatic = int64_t(PNGWriter::Filter::automatic);
BENCHMARK(BM_ExampleSet)
    ->Args({-1, automatic})
    ->ArgsProduct({{1, 2}, {int64_t(PNGWriter::Filter::none), int64_t(PNGWriter::Filter::up),
                            int64_t(PNGWriter::Filter::adaptive)}})
    ->Unit(benchmark::kMillisecond);

// Arguments: the picture, then the level (-1: the encoder's own choice).
void BM_Ours(benchmark::State& state, PNGWriter::Filter filter) {
  const Image& image = slide(state.range(0));
  size_t size = 0;
  for (auto _ : state) {
    auto png = PNGWriter::encode(image, {.level = int(state.range(1)), .filter = filter});
    size = png ? png->size() : 0;
    benchmark::DoNotOptimize(size);
  }
  state.counters["bytes"] = double(size);
}
// What export writes: the encoder's own choice of filters and level.
void BM_OursAutomatic(benchmark::State& state) {
  const Image& image = slide(state.range(0));
  size_t size = 0;
  for (auto _ : state) {
    auto png = PNGWriter::encode(image);
    size = png ? png->size() : 0;
    benchmark::DoNotOptimize(size);
  }
  state.counters["bytes"] = double(size);
}
const std::vector<int64_t> pictures = {0, 1, 2, 3};
BENCHMARK(BM_OursAutomatic)->ArgsProduct({pictures})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Ours, up, PNGWriter::Filter::up)->ArgsProduct({pictures, {1, 2, 3, 4, 6}})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Ours, none, PNGWriter::Filter::none)->ArgsProduct({pictures, {1, 2}})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Ours, sub, PNGWriter::Filter::sub)->ArgsProduct({pictures, {1, 2, 6}})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Ours, adaptive, PNGWriter::Filter::adaptive)->ArgsProduct({pictures, {1, 2, 3, 4, 6}})->Unit(benchmark::kMillisecond);

// Arguments: the picture, then the zlib level (-1: the library's default, with its default filters).
void BM_Spng(benchmark::State& state) {
  const Image& image = slide(state.range(0));
  size_t size = 0;
  for (auto _ : state) {
    // Row packing is part of the encode in every case.
    auto rows = PNGWriter::packedRows(image, false);
    spng_ctx* ctx = spng_ctx_new(SPNG_CTX_ENCODER);
    spng_set_option(ctx, SPNG_ENCODE_TO_BUFFER, 1);
    if (state.range(1) >= 0) {
      spng_set_option(ctx, SPNG_FILTER_CHOICE, SPNG_FILTER_CHOICE_UP);
      spng_set_option(ctx, SPNG_IMG_COMPRESSION_LEVEL, int(state.range(1)));
    }
    spng_ihdr header{};
    header.width = uint32_t(image.width());
    header.height = uint32_t(image.height());
    header.bit_depth = 8;
    header.color_type = SPNG_COLOR_TYPE_TRUECOLOR;
    spng_set_ihdr(ctx, &header);
    int error = spng_encode_image(ctx, rows->data(), rows->size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
    void* bytes = error == 0 ? spng_get_png_buffer(ctx, &size, &error) : nullptr;
    free(bytes);
    spng_ctx_free(ctx);
    benchmark::DoNotOptimize(size);
  }
  state.counters["bytes"] = double(size);
}
BENCHMARK(BM_Spng)->ArgsProduct({pictures, {-1, 1}})->Unit(benchmark::kMillisecond);

void appendBytes(png_structp png, png_bytep data, png_size_t length) {
  auto* out = static_cast<std::vector<uint8_t>*>(png_get_io_ptr(png));
  out->insert(out->end(), data, data + length);
}
void noFlush(png_structp) {}

// Arguments: the picture, then the zlib level (-1: libpng's defaults, level 6 and all five
// filters chosen per row).
void BM_Libpng(benchmark::State& state) {
  const Image& image = slide(state.range(0));
  size_t size = 0;
  for (auto _ : state) {
    auto rows = PNGWriter::packedRows(image, false);
    std::vector<uint8_t> out;
    out.reserve(8 << 20);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
      png_destroy_write_struct(&png, &info);
      state.SkipWithError("libpng failed");
      break;
    }
    png_set_write_fn(png, &out, appendBytes, noFlush);
    png_set_IHDR(png, info, image.width(), image.height(), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (state.range(1) >= 0) {
      png_set_filter(png, 0, PNG_FILTER_UP);
      png_set_compression_level(png, int(state.range(1)));
    }
    png_write_info(png, info);
    const size_t rowBytes = size_t(image.width()) * 3;
    for (int y = 0; y < image.height(); ++y) png_write_row(png, rows->data() + rowBytes * y);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    size = out.size();
    benchmark::DoNotOptimize(size);
  }
  state.counters["bytes"] = double(size);
}
BENCHMARK(BM_Libpng)->ArgsProduct({pictures, {-1, 1}})->Unit(benchmark::kMillisecond);

// The preview path: the slide down to a longest side of 1200, with the filter Images::downscale
// uses (GOOD) against cairo's BEST.
void BM_Downscale(benchmark::State& state) {
  const Image& image = slide(0);
  const cairo_filter_t filter = state.range(0) ? CAIRO_FILTER_BEST : CAIRO_FILTER_GOOD;
  for (auto _ : state) {
    if (filter == CAIRO_FILTER_GOOD) {
      benchmark::DoNotOptimize(Images::downscale(image, 1200));
      continue;
    }
    const double f = 1200.0 / image.height();
    Canvas canvas = Canvas::opaque(int(image.width() * f), 1200);
    cairo_t* cr = canvas.context();
    cairo_scale(cr, f, f);
    cairo_set_source_surface(cr, image.surface(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr), filter);
    cairo_pattern_set_extend(cairo_get_source(cr), CAIRO_EXTEND_PAD);
    cairo_paint(cr);
    benchmark::DoNotOptimize(canvas.finish());
  }
}
BENCHMARK(BM_Downscale)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

const char* const captures[] = {"en-US/week.png", "en-US/map.png", "en-US/week-android.png"};

const std::vector<uint8_t>& captureFile(int64_t index) {
  static std::vector<uint8_t> files[std::size(captures)];
  std::vector<uint8_t>& file = files[index];
  if (file.empty()) {
    std::ifstream in(std::string(VORNO_SOURCE_DIR) + "/examples/Demo.vorno/captures/" + captures[index], std::ios::binary);
    file.assign(std::istreambuf_iterator<char>(in), {});
  }
  return file;
}

void BM_DecodeOurs(benchmark::State& state) {
  const std::vector<uint8_t>& file = captureFile(state.range(0));
  for (auto _ : state) {
    auto pixels = codecs::decodeCommonPNG(file.data(), file.size());
    if (!pixels) state.SkipWithError("not decoded");
    benchmark::DoNotOptimize(pixels);
  }
}
BENCHMARK(BM_DecodeOurs)->DenseRange(0, std::size(captures) - 1)->Unit(benchmark::kMillisecond);

void BM_DecodeSpng(benchmark::State& state) {
  const std::vector<uint8_t>& file = captureFile(state.range(0));
  for (auto _ : state) {
    spng_ctx* ctx = spng_ctx_new(0);
    size_t length = 0;
    spng_set_png_buffer(ctx, file.data(), file.size());
    spng_decoded_image_size(ctx, SPNG_FMT_RGBA8, &length);
    std::unique_ptr<uint8_t, codecs::FreeBytes> out(static_cast<uint8_t*>(std::malloc(length)));
    if (spng_decode_image(ctx, out.get(), length, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != 0)
      state.SkipWithError("not decoded");
    spng_ctx_free(ctx);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_DecodeSpng)->DenseRange(0, std::size(captures) - 1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
