// Still pictures: colors, sizes, cut-outs, which picture of a run, and requests that can't be served.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "offline/StillStream.h"
#include "offline/thumbnail/ThumbnailPlacement.h"

namespace qvs::test {
namespace {

constexpr int kNear = 3;

/// The bar that fills all of a picture's column `x`, compared in the middle of the picture.
void expectColor(const Still& still, int x, int y, const uint8_t (&rgb)[3], const std::string& where) {
  ASSERT_FALSE(still.isEmpty()) << where;
  const uint8_t* pixel = still.at(x, y);
  EXPECT_NEAR(pixel[2], rgb[0], kNear) << where << " red";
  EXPECT_NEAR(pixel[1], rgb[1], kNear) << where << " green";
  EXPECT_NEAR(pixel[0], rgb[2], kNear) << where << " blue";
  EXPECT_EQ(pixel[3], 255) << where << " alpha";
}

TEST(Thumbnailer, GivesTheColorsThatTheStreamSays) {
  const StillSetup setups[] = {
      {.codec = 7, .width = 256, .matrix = 1},
      {.codec = 7, .width = 256, .matrix = 1, .fullRange = true},
      {.codec = 7, .width = 256, .matrix = 6},
      {.codec = 7, .width = 256, .matrix = 6, .fullRange = true},
      {.codec = 7, .width = 256},
      {.codec = 7, .width = 256, .height = 720},
      {.codec = 12, .width = 256, .matrix = 1},
      {.codec = 12, .width = 256, .matrix = 1, .fullRange = true},
      {.codec = 12, .width = 256, .matrix = 6},
      {.codec = 12, .width = 256, .matrix = 6, .fullRange = true},
      {.codec = 11, .width = 256, .matrix = 1},
      {.codec = 11, .width = 256, .matrix = 6},
      {.codec = 10, .width = 256},
  };
  for (const StillSetup& setup : setups) {
    StillStream stream = makeStillStream(setup);
    const bool scaled[] = {false, true};
    for (const bool smaller : scaled) {
      ThumbnailerRequestData request = requestOf(setup.codec, stream);
      if (smaller) {
        request.fitMode = kThumbnailFitWidth;
        request.width = 128;
      }
      const Still still = make(request);
      const std::string where = "codec " + std::to_string(setup.codec) + " matrix " +
                                std::to_string(setup.matrix) + (setup.fullRange ? " full " : " narrow ") +
                                (smaller ? "scaled" : "as it is");
      EXPECT_EQ(still.status, 0u) << where;
      for (int bar = 0; bar < StillStream::kBarCount; ++bar) {
        expectColor(still, (2 * bar + 1) * still.data.width / (2 * StillStream::kBarCount),
                    still.data.height / 2, StillStream::kBars[bar], where + ", bar " + std::to_string(bar));
      }
    }
  }
}

struct Placed {
  ThumbnailerRequestData request;
  PixelSize size;
  PixelRect source, target;
};

ThumbnailerRequestData wanted(int32_t fit, int32_t width, int32_t height, std::array<int32_t, 4> crop = {}) {
  ThumbnailerRequestData request;
  request.fitMode = fit;
  request.width = width;
  request.height = height;
  std::copy(crop.begin(), crop.end(), request.crop);
  return request;
}

TEST(ThumbnailPlacement, FollowsFitModeAndCrop) {
  const PixelSize frame{640, 482};
  const PixelRect none;
  const Placed cases[] = {
      {wanted(kThumbnailFitWidth, 320, 0), {320, 242}, none, none},  // 241, and one more
      {wanted(kThumbnailFitHeight, 9999, 241), {320, 241}, none, none},
      {wanted(kThumbnailFitWidth, 100, 0, {320, 0}), {100, 150}, {320, 0, 320, 482}, none},
      {wanted(kThumbnailFitOriginal, 1, 1, {1, 2, 3, 4}), {640, 482}, {1, 3, 637, 475}, none},
      {wanted(kThumbnailFitInside, 320, 241), {320, 241}, {0, 0, 640, 482}, {0, 0, 320, 241}},
      {wanted(kThumbnailFitInside, 320, 320), {320, 320}, {0, 0, 640, 482}, {0, 39, 320, 241}},
      {wanted(kThumbnailFitInside, 482, 100), {482, 100}, {0, 0, 640, 482}, {175, 0, 132, 100}},
      {wanted(kThumbnailFitFill, 320, 241), {320, 241}, {0, 0, 640, 482}, none},
      {wanted(kThumbnailFitFill, 482, 482), {482, 482}, {79, 0, 482, 482}, none},
      {wanted(kThumbnailFitFill, 640, 100, {0, 0, 82, 0}), {640, 100}, {0, 232, 640, 100}, none},
      {wanted(5, 17, 19), {17, 19}, none, none},
      {wanted(3000, 17, 19, {0, 0, 0, 481}), {17, 19}, {0, 0, 640, 1}, none},
      {wanted(5, 17, 19, {-1, -2, 0, 0}), {17, 19}, none, none},  // nothing is above 0: no crop
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    const auto placement = placeThumbnail(frame, cases[i].request);
    ASSERT_TRUE(placement.has_value()) << i;
    EXPECT_EQ(placement->size, cases[i].size) << i;
    EXPECT_EQ(placement->hasSource, !cases[i].source.isEmpty()) << i;
    EXPECT_EQ(placement->hasTarget, !cases[i].target.isEmpty()) << i;
    EXPECT_TRUE(!placement->hasSource || placement->source == cases[i].source) << i;
    EXPECT_TRUE(!placement->hasTarget || placement->target == cases[i].target) << i;
  }
  const ThumbnailerRequestData refused[] = {wanted(1, 0, 10),
                                            wanted(1, 10, -1),
                                            wanted(4, 16385, 10),
                                            wanted(2, INT32_MAX, 0),
                                            wanted(5, 9, 9, {640, 0}),
                                            wanted(5, 9, 9, {1, 0, -1}),
                                            wanted(5, 9, 9, {INT32_MAX, INT32_MAX}),
                                            wanted(3, 0, 0),
                                            wanted(5, 9, 9, {0, 0, 241, 241})};
  for (size_t i = 0; i < std::size(refused); ++i)
    EXPECT_FALSE(placeThumbnail(frame, refused[i]).has_value()) << i;
}

TEST(Thumbnailer, CutsAndPaintsBarsWhereTheRequestSaysSo) {
  StillStream stream = makeStillStream({.matrix = 1});
  ThumbnailerRequestData request = requestOf(7, stream);
  request.fitMode = kThumbnailFitInside;
  request.width = request.height = 64;
  const Still boxed = make(request);
  const uint8_t black[] = {0, 0, 0};
  expectColor(boxed, 20, 2, black, "bar above");
  expectColor(boxed, 20, 61, black, "bar below");
  expectColor(boxed, 4, 32, StillStream::kBars[0], "picture");

  request.fitMode = 5;
  request.width = request.height = 33;
  request.crop[0] = 85;  // bar 5 begins at column 80
  request.crop[1] = 37;
  request.crop[2] = 7;
  const Still cut = make(request);
  for (const int x : {0, 16, 32}) expectColor(cut, x, 16, StillStream::kBars[5], "cut-out");
}

TEST(Thumbnailer, PicksThePictureOfTheRun) {
  for (const uint32_t codec : {7u, 12u, 11u}) {
    StillStream stream = makeStillStream({.codec = codec, .matrix = 1, .frames = 8, .bFrames = 2});
    const auto numberOf = [&](const ThumbnailerRequestData& request) {
      const Still still = make(request);
      EXPECT_FALSE(still.isEmpty());
      // Of the first bar; narrow luma of 191 is 180, and a step is stretched to full range.
      return still.isEmpty() ? -1
                             : std::lround((191 - still.at(8, 48)[1]) / (StillStream::kStep * 255.0 / 219));
    };
    for (size_t count = 1; count <= stream.packets.size(); ++count) {
      ThumbnailerRequestData request = requestOf(codec, stream, count);
      const int last =
          *std::max_element(stream.numbers.begin(), stream.numbers.begin() + static_cast<ptrdiff_t>(count));
      EXPECT_EQ(numberOf(request), last) << "codec " << codec << ", " << count << " packets";
      request.implementation = ThumbnailerRequestData::kPictureOfLastPacket;
      EXPECT_EQ(numberOf(request), stream.numbers[count - 1])
          << "codec " << codec << ", packet " << count - 1;
    }
  }
}

TEST(Thumbnailer, FollowsTheSizeThroughARun) {
  StillStream stream = makeStillStream({.matrix = 1});
  StillStream larger = makeStillStream({.width = 322, .height = 182, .matrix = 1});
  stream.packets.push_back(larger.packets[0]);
  const Still still = make(requestOf(7, stream));
  EXPECT_EQ(still.data.width, 322);
  EXPECT_EQ(still.data.height, 182);
  EXPECT_EQ(still.data.pictureDataLen, 322u * 182 * 4);
  expectColor(still, 60, 90, StillStream::kBars[1], "second size");
}

TEST(Thumbnailer, SurvivesWhatCannotBeServed) {
  for (const uint32_t codec : {7u, 12u, 11u, 10u}) {
    StillStream stream = makeStillStream({.codec = codec, .matrix = codec == 10 ? 2 : 1, .frames = 4});
    ThumbnailerRequestPacketData empty;
    // The first packet alone has a header.
    std::vector<ThumbnailerRequestPacketData> many(10000, stream.packets[1]);
    many[5000] = empty;
    ThumbnailerRequestData request = requestOf(codec, stream);
    request.packets = many.data();
    request.packetsLen = static_cast<uint32_t>(many.size());
    EXPECT_TRUE(make(request).isEmpty()) << codec << ": no header";
    request.packetsLen = 0;
    EXPECT_TRUE(make(request).isEmpty()) << codec << ": no packets";
    request = requestOf(codec, stream);
    request.crop[0] = 128;
    EXPECT_TRUE(make(request).isEmpty()) << codec << ": nothing left of the picture";

    // Settings of all kinds change nothing that a request could not ask for.
    request = requestOf(codec, stream);
    request.cpuNum = request.smpMode = request.output8Bit = request.mvPrecision = request.dpbSize =
        request.ec = request.loopFilter = request.accMode = INT32_MAX;
    request.deinterlace = INT32_MIN;
    EXPECT_FALSE(make(request).isEmpty()) << codec;
    for (size_t at = 0; at < stream.bytes[0].size(); at += stream.bytes[0].size() / 12 + 1) {
      stream.bytes[0][at] ^= 0x55;
      make(requestOf(codec, stream));
      stream.packets[0].packetDataLen = static_cast<uint32_t>(at);
      make(requestOf(codec, stream));
      stream.packets[0].packetDataLen = static_cast<uint32_t>(stream.bytes[0].size());
    }
  }
}

TEST(Thumbnailer, ServesRealStreamsWholeAndBroken) {
  const char* media = std::getenv("QVS_MEDIA");
  if (media == nullptr) GTEST_SKIP() << "QVS_MEDIA names no folder";
  int pictures = 0;
  for (const char* folder : {"broken", "derived", "clips/h264", "clips/hevc", "clips/mpeg2", "clips/mpeg4"}) {
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(media) / folder)) {
      if (!entry.is_regular_file()) continue;
      MediaStream file(entry.path());
      StillStream stream = readStillStream(file, 6);
      if (stream.packets.empty()) continue;
      ThumbnailerRequestData request = requestOf(file.getCodec(), stream);
      request.fitMode = kThumbnailFitWidth;
      request.width = 160;
      const Still still = make(request);
      if (!still.isEmpty()) ++pictures;
      EXPECT_TRUE(still.isEmpty() || still.data.width == 160) << entry.path();
      const bool broken = entry.path().string().find("broken") != std::string::npos;
      EXPECT_TRUE(broken || !still.isEmpty()) << entry.path();
    }
  }
  EXPECT_GT(pictures, 10);
}

}  // namespace
}  // namespace qvs::test
