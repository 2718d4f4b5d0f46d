#include "kit/image/video_frames.h"

#include "kit/image/image_cache.h"
#include "tests/temp_folder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
}

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

namespace vorno {
namespace {

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

}  // namespace
}  // namespace vorno
