#include "kit/image/video_frames.h"

#include "kit/image/image_cache.h"
#include "kit/image/images.h"
#include "kit/util/format.h"
#include "kit/util/vorno_error.h"
#include "tests/ffprobe.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"
#include "tests/video_pictures.h"
#include "tests/error_of.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
}

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

namespace vorno::video_frames_test {
namespace {

using testing::colorOfSecond;
using testing::pixelAt;
using testing::recordingOfSeconds;
using testing::RGB;
using testing::TempFolder;

// A short MPEG-4 recording of grey frames, made with FFmpeg's own encoder; `rotation` goes into
// the track's display matrix the way phones store upright recordings.
bool writeRecording(const std::string& path, int width, int height, int rotation) {
  AVFormatContext* format = nullptr;
  if (avformat_alloc_output_context2(&format, nullptr, "mp4", path.c_str()) < 0) return false;
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
  AVStream* stream = codec ? avformat_new_stream(format, nullptr) : nullptr;
  AVCodecContext* encoder = codec ? avcodec_alloc_context3(codec) : nullptr;
  bool ok = stream && encoder;
  if (ok) {
    encoder->width = width;
    encoder->height = height;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, 10};
    stream->time_base = {1, 10};
    if (format->oformat->flags & AVFMT_GLOBALHEADER) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    ok = avcodec_open2(encoder, codec, nullptr) >= 0 && avcodec_parameters_from_context(stream->codecpar, encoder) >= 0;
  }
  if (ok && rotation) {
    auto* matrix = reinterpret_cast<int32_t*>(av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, 9 * 4));
    ok = matrix != nullptr;
    if (ok) av_display_rotation_set(matrix, rotation);
  }
  ok = ok && avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE) >= 0 && avformat_write_header(format, nullptr) >= 0;
  AVFrame* frame = av_frame_alloc();
  AVPacket* packet = av_packet_alloc();
  if (ok) {
    frame->width = width;
    frame->height = height;
    frame->format = AV_PIX_FMT_YUV420P;
    ok = av_frame_get_buffer(frame, 0) >= 0;
  }
  for (int i = 0; ok && i <= 3; ++i) {
    bool flushing = i == 3;
    if (!flushing) {
      av_frame_make_writable(frame);
      for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < (plane ? height / 2 : height); ++y)
          std::memset(frame->data[plane] + y * frame->linesize[plane], 128, plane ? width / 2 : width);
      frame->pts = i;
    }
    ok = avcodec_send_frame(encoder, flushing ? nullptr : frame) >= 0;
    while (ok && avcodec_receive_packet(encoder, packet) == 0) {
      av_packet_rescale_ts(packet, encoder->time_base, stream->time_base);
      packet->stream_index = stream->index;
      ok = av_interleaved_write_frame(format, packet) >= 0;
    }
  }
  if (ok) ok = av_write_trailer(format) >= 0;
  av_packet_free(&packet);
  av_frame_free(&frame);
  avcodec_free_context(&encoder);
  if (format->pb) avio_closep(&format->pb);
  avformat_free_context(format);
  return ok;
}

TEST(VideoFrames, ExtensionsAreTheThreeRecordingKinds) {
  EXPECT_EQ(VideoFrames::extensions.size(), 3u);
  EXPECT_TRUE(VideoFrames::isRecording("captures/en-US/walk.mov"));
  EXPECT_TRUE(VideoFrames::isRecording("a.MP4"));
  EXPECT_TRUE(VideoFrames::isRecording("a.m4v"));
  EXPECT_FALSE(VideoFrames::isRecording("a.png"));
  EXPECT_FALSE(VideoFrames::isRecording("mov"));
}

TEST(VideoFrames, ParseSplitsPathAndTime) {
  auto parsed = VideoFrames::parse("/p/captures/en-US/walk.mov@t=2.5000");
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->first, "/p/captures/en-US/walk.mov");
  EXPECT_DOUBLE_EQ(parsed->second, 2.5);
  auto zero = VideoFrames::parse("a.mp4@t=0.0000");
  ASSERT_TRUE(zero);
  EXPECT_EQ(zero->second, 0);
}

TEST(VideoFrames, ParseTakesTheLastMarker) {
  auto parsed = VideoFrames::parse("odd@t=folder/a.mov@t=1.2500");
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->first, "odd@t=folder/a.mov");
  EXPECT_DOUBLE_EQ(parsed->second, 1.25);
}

TEST(VideoFrames, ParseRefusesOtherTexts) {
  for (const char* text : {"a.mov", "a.mov@t=", "a.mov@t=abc", "a.mov@t=1.5s", "@t=1.0", "a.mov@t= 1",
                           "a.mov@t=nan", "a.mov@t=inf", "a.mov@1.0"})
    EXPECT_FALSE(VideoFrames::parse(text)) << text;
}

TEST(VideoFrames, PixelSizeReadsTheTrack) {
  TempFolder folder;
  std::string path = folder.file("walk.mp4");
  ASSERT_TRUE(writeRecording(path, 64, 48, 0));
  EXPECT_EQ(VideoFrames::pixelSize(path), (Size{64, 48}));
}

TEST(VideoFrames, PixelSizeFollowsTheTrackRotation) {
  TempFolder folder;
  std::string path = folder.file("upright.mov");
  ASSERT_TRUE(writeRecording(path, 64, 48, 90));
  EXPECT_EQ(VideoFrames::pixelSize(path), (Size{48, 64}));
}

TEST(VideoFrames, PixelSizeOfNonRecordingsIsNothing) {
  TempFolder folder;
  std::ofstream(folder.file("fake.mov")) << "this is not a movie";
  EXPECT_FALSE(VideoFrames::pixelSize(folder.file("fake.mov")));
  EXPECT_FALSE(VideoFrames::pixelSize(folder.file("missing.mov")));
}

TEST(VideoFrames, ImageSizeCacheSizesAFrameFromItsRecording) {
  TempFolder folder;
  std::string path = folder.file("walk.m4v");
  ASSERT_TRUE(writeRecording(path, 80, 32, 0));
  ImageSizeCache cache;
  EXPECT_EQ(cache.size(path + "@t=0.1000"), (Size{80, 32}));
  EXPECT_EQ(cache.size(path + "@t=0.2000"), (Size{80, 32}));
}

// Within `tolerance` in every channel: encoding to yuv420p and back rounds a little.
::testing::AssertionResult near(RGB actual, RGB expected, int tolerance = 4) {
  for (int i = 0; i < 3; ++i)
    if (std::abs(actual[i] - expected[i]) > tolerance)
      return ::testing::AssertionFailure() << "(" << actual[0] << ", " << actual[1] << ", " << actual[2]
                                           << ") is not (" << expected[0] << ", " << expected[1] << ", "
                                           << expected[2] << ")";
  return ::testing::AssertionSuccess();
}

RGB centreOf(const Image& image) { return pixelAt(image, image.width() / 2, image.height() / 2); }

// A copy of `from` whose display matrix says to turn the pictures `degrees` clockwise, the way a
// phone marks a recording made upright: the pictures themselves are copied untouched.
bool withRotation(const std::string& from, const std::string& to, int degrees) {
  AVFormatContext* input = nullptr;
  if (avformat_open_input(&input, from.c_str(), nullptr, nullptr) != 0) return false;
  AVFormatContext* output = nullptr;
  bool ok = avformat_find_stream_info(input, nullptr) >= 0 && input->nb_streams == 1 &&
            avformat_alloc_output_context2(&output, nullptr, "mp4", to.c_str()) >= 0;
  AVStream* stream = ok ? avformat_new_stream(output, nullptr) : nullptr;
  ok = stream && avcodec_parameters_copy(stream->codecpar, input->streams[0]->codecpar) >= 0;
  if (ok) {
    stream->codecpar->codec_tag = 0;
    stream->time_base = input->streams[0]->time_base;
    auto* matrix = reinterpret_cast<int32_t*>(av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, 9 * 4));
    ok = matrix != nullptr;
    if (ok) av_display_rotation_set(matrix, degrees);
  }
  ok = ok && avio_open(&output->pb, to.c_str(), AVIO_FLAG_WRITE) >= 0 && avformat_write_header(output, nullptr) >= 0;
  AVPacket* packet = av_packet_alloc();
  while (ok && av_read_frame(input, packet) >= 0) {
    av_packet_rescale_ts(packet, input->streams[0]->time_base, stream->time_base);
    packet->stream_index = 0;
    ok = av_interleaved_write_frame(output, packet) >= 0;
    av_packet_unref(packet);
  }
  if (ok) ok = av_write_trailer(output) >= 0;
  av_packet_free(&packet);
  if (output) {
    if (output->pb) avio_closep(&output->pb);
    avformat_free_context(output);
  }
  avformat_close_input(&input);
  return ok;
}

// A picture of `width` × `height`: left half red, right half blue.
Image leftRedRightBlue(int width, int height) { return testing::bandedPicture(width, height, {{220, 30, 30}, {30, 30, 220}}); }

TEST(VideoFrames, FrameOfA5SecondRecordingAt7SecondsGivesTheFrameAt2Seconds) {
  TempFolder folder;
  std::string path = folder.file("walk.mp4");
  recordingOfSeconds(path, 5);
  Image late = VideoFrames::frame(path, 7);
  Image two = VideoFrames::frame(path, 2);
  EXPECT_EQ(late.width(), 64);
  EXPECT_EQ(late.height(), 48);
  EXPECT_TRUE(near(centreOf(late), colorOfSecond(2)));
  EXPECT_EQ(Images::pixelDifference(late, two), 0);
  EXPECT_EQ(late.id(), two.id()) << "the looped time is the cache's key";
}

TEST(VideoFrames, MomentsOneSecondApartDiffer) {
  TempFolder folder;
  std::string path = folder.file("walk.mov");
  recordingOfSeconds(path, 5);
  for (int second = 0; second < 5; ++second) {
    Image picture = VideoFrames::frame(path, second + 0.5);
    EXPECT_TRUE(near(centreOf(picture), colorOfSecond(second))) << "at " << second + 0.5 << " s";
    if (second > 0) {
      EXPECT_EQ(Images::pixelDifference(picture, VideoFrames::frame(path, second - 0.5)), 1) << second;
    }
  }
}

TEST(VideoFrames, ANegativeTimeCountsBackFromTheEnd) {
  TempFolder folder;
  std::string path = folder.file("walk.mp4");
  recordingOfSeconds(path, 5);
  EXPECT_TRUE(near(centreOf(VideoFrames::frame(path, -1)), colorOfSecond(4)));
  EXPECT_TRUE(near(centreOf(VideoFrames::frame(path, -4.5)), colorOfSecond(0)));
}

TEST(VideoFrames, ColoursSurviveTheWriterAndTheReader) {
  // Primaries, secondaries, greys and a skin tone: a matrix that differed between writing and
  // reading (BT.601 against BT.709) moves the saturated ones by 10 to 40 levels.
  std::vector<RGB> colors = {{255, 0, 0},   {0, 255, 0},     {0, 0, 255},     {255, 255, 0},
                             {0, 255, 255}, {255, 0, 255},   {255, 255, 255}, {0, 0, 0},
                             {128, 128, 128}, {224, 172, 138}, {30, 90, 200},   {250, 120, 20}};
  TempFolder folder;
  std::string path = folder.file("colours.mp4");
  const int band = 32, width = band * static_cast<int>(colors.size()), height = 64;
  {
    VideoWriter writer(path, width, height, 30);
    Image picture = testing::bandedPicture(width, height, colors);
    for (int i = 0; i < 30; ++i) writer.append(picture);
    writer.finish();
  }
  for (double time : {0.0, 0.5}) {
    Image decoded = VideoFrames::frame(path, time);
    ASSERT_EQ(decoded.width(), width);
    for (size_t i = 0; i < colors.size(); ++i)
      EXPECT_TRUE(near(pixelAt(decoded, band * static_cast<int>(i) + band / 2, height / 2), colors[i], 3))
          << "band " << i << " at " << time << " s";
  }
}

TEST(VideoFrames, EveryPictureOfARecordingIsReachedAtItsStampedTime) {
  // 30 pictures a second, each its own colour, read at the times a 30 fps video stamps ("%.4f"):
  // 1/30 s is stamped 0.0333, a hair before the second picture starts.
  TempFolder folder;
  std::string path = folder.file("count.mp4");
  auto colorOf = [](int i) { return RGB{20 + 7 * i, 200 - 5 * i, 60 + (i % 2) * 100}; };
  {
    VideoWriter writer(path, 64, 48, 30);
    for (int i = 0; i < 30; ++i) writer.append(testing::solidPicture(64, 48, colorOf(i)));
    writer.finish();
  }
  // In order (each picture decoded once), then jumping about (each a seek).
  std::vector<int> order;
  for (int i = 0; i < 30; ++i) order.push_back(i);
  for (int i : {17, 3, 29, 0, 16, 15, 28, 1}) order.push_back(i);
  for (int i : order) {
    auto stamp = VideoFrames::parse(path + formatted("@t=%.4f", (i + 30) / 30.0));
    ASSERT_TRUE(stamp);
    EXPECT_TRUE(near(centreOf(VideoFrames::frame(stamp->first, stamp->second)), colorOf(i))) << "picture " << i;
  }
}

TEST(VideoFrames, ARotatedRecordingComesOutUpright) {
  TempFolder folder;
  std::string stored = folder.file("stored.mp4");
  {
    VideoWriter writer(stored, 64, 48, 10);
    for (int i = 0; i < 10; ++i) writer.append(leftRedRightBlue(64, 48));
    writer.finish();
  }
  const RGB red{220, 30, 30}, blue{30, 30, 220};
  struct Case {
    int degrees;  // clockwise, as the display matrix says
    int width, height;
    RGB top, bottom, left, right;
  };
  // Turned clockwise, the left half rises to the top; counter-clockwise, the right half does.
  for (const Case& c : {Case{90, 48, 64, red, blue, {}, {}}, Case{-90, 48, 64, blue, red, {}, {}},
                        Case{180, 64, 48, {}, {}, blue, red}}) {
    std::string path = folder.file("turned" + std::to_string(c.degrees + 360) + ".mov");
    ASSERT_TRUE(withRotation(stored, path, c.degrees));
    EXPECT_EQ(VideoFrames::pixelSize(path), (Size{double(c.width), double(c.height)}));
    Image picture = VideoFrames::frame(path, 0.25);
    ASSERT_EQ(picture.width(), c.width) << c.degrees;
    ASSERT_EQ(picture.height(), c.height) << c.degrees;
    if (c.width < c.height) {
      EXPECT_TRUE(near(pixelAt(picture, c.width / 2, 8), c.top)) << c.degrees;
      EXPECT_TRUE(near(pixelAt(picture, c.width / 2, c.height - 8), c.bottom)) << c.degrees;
    } else {
      EXPECT_TRUE(near(pixelAt(picture, 8, c.height / 2), c.left)) << c.degrees;
      EXPECT_TRUE(near(pixelAt(picture, c.width - 8, c.height / 2), c.right)) << c.degrees;
    }
    // FFmpeg's own command line turns recordings upright too: where it is installed, it must
    // show the same picture.
    std::string ffmpeg = testing::findProgram("ffmpeg");
    if (ffmpeg.empty()) continue;
    testing::ProcessResult decoded = testing::runProcess(
        ffmpeg, {"-v", "error", "-i", path, "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
    ASSERT_EQ(decoded.out.size(), size_t(c.width) * c.height * 3) << decoded.err;
    for (auto [x, y] : {std::pair{c.width / 2, 8}, std::pair{c.width / 2, c.height - 8}, std::pair{8, c.height / 2},
                        std::pair{c.width - 8, c.height / 2}}) {
      const auto* rgb = reinterpret_cast<const unsigned char*>(decoded.out.data()) + (size_t(y) * c.width + x) * 3;
      EXPECT_TRUE(near(pixelAt(picture, x, y), RGB{rgb[0], rgb[1], rgb[2]}, 6)) << c.degrees << " at " << x << ", " << y;
    }
  }
}

TEST(VideoFrames, ARecordingOfAnOddRowLengthDecodesToItsLastColumn) {
  // 70 pixels are 280 bytes a row: not a whole number of the converter's vector blocks.
  TempFolder folder;
  std::string path = folder.file("narrow.mp4");
  recordingOfSeconds(path, 2, 70, 34, 10);
  for (double time : {0.5, 1.5}) {
    Image picture = VideoFrames::frame(path, time);
    ASSERT_EQ(picture.width(), 70);
    ASSERT_EQ(picture.height(), 34);
    EXPECT_TRUE(near(pixelAt(picture, 69, 33), colorOfSecond(int(time))));
    EXPECT_TRUE(near(pixelAt(picture, 0, 0), colorOfSecond(int(time))));
  }
}

TEST(VideoFrames, AnUnplayableFileIsNotAPlayableRecording) {
  TempFolder folder;
  std::string fake = folder.file("fake.mov");
  std::ofstream(fake) << "this is not a movie";
  EXPECT_EQ(testing::errorOf([&] { VideoFrames::frame(fake, 1); }), "Not a playable recording: " + fake);
  std::string missing = folder.file("missing.mp4");
  EXPECT_EQ(testing::errorOf([&] { VideoFrames::frame(missing, 0); }), "Not a playable recording: " + missing);
  try {
    VideoFrames::frame(fake, 0);
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
  }
}

TEST(VideoFrames, ACacheHitReturnsTheSameImage) {
  TempFolder folder;
  std::string path = folder.file("walk.mp4");
  recordingOfSeconds(path, 2);
  Image first = VideoFrames::frame(path, 1.25);
  EXPECT_EQ(VideoFrames::frame(path, 1.25).id(), first.id());
  EXPECT_EQ(VideoFrames::frame(path, 3.25).id(), first.id());
  EXPECT_NE(VideoFrames::frame(path, 1.5).id(), first.id());
}

TEST(VideoFrames, ARecordingChangedOnDiskIsReadAgain) {
  TempFolder folder;
  std::string path = folder.file("walk.mp4");
  recordingOfSeconds(path, 2);
  EXPECT_TRUE(near(centreOf(VideoFrames::frame(path, 0.5)), colorOfSecond(0)));
  {
    VideoWriter writer(path, 64, 48, 10);
    for (int i = 0; i < 10; ++i) writer.append(testing::solidPicture(64, 48, colorOfSecond(5)));
    writer.finish();
  }
  // Another modification time, whatever the clock's resolution.
  std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(2));
  Image picture = VideoFrames::frame(path, 0.5);
  EXPECT_TRUE(near(centreOf(picture), colorOfSecond(5)));
  // The new recording lasts 1 s: 1.5 s loops to 0.5 s.
  EXPECT_EQ(VideoFrames::frame(path, 1.5).id(), picture.id());
}

TEST(VideoFrames, ManyThreadsReadOneRecording) {
  TempFolder folder;
  std::string path = folder.file("walk.mp4");
  recordingOfSeconds(path, 5);
  std::vector<std::thread> threads;
  std::array<int, 6> wrong{};
  for (int t = 0; t < 6; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 25; ++i) {
        double time = (t * 7 + i * 3) % 50 / 10.0 + 0.05;
        if (!near(centreOf(VideoFrames::frame(path, time)), colorOfSecond(static_cast<int>(time)))) ++wrong[t];
      }
    });
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < 6; ++t) EXPECT_EQ(wrong[t], 0) << "thread " << t;
}

TEST(VideoFrames, ImageCacheShowsTheMomentOfAStampedPath) {
  TempFolder folder;
  std::string path = folder.file("walk.m4v");
  recordingOfSeconds(path, 3);
  ImageCache cache;
  Image one = cache.image(path + "@t=1.5000");
  Image two = cache.image(path + "@t=2.5000");
  EXPECT_TRUE(near(centreOf(one), colorOfSecond(1)));
  EXPECT_TRUE(near(centreOf(two), colorOfSecond(2)));
  EXPECT_EQ(cache.image(path + "@t=1.5000").id(), one.id());
  EXPECT_EQ(testing::errorOf([&] { cache.image(folder.file("gone.mov") + "@t=1.0000"); }),
            "Not a playable recording: " + folder.file("gone.mov"));
}

}  // namespace
}  // namespace vorno::video_frames_test
