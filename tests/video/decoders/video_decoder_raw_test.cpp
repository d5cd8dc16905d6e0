// Pictures that come decoded: forms that are refused, packets that are too short, what is shown of the planes.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "contract/DecodeFlags.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "support/GuardedBytes.h"
#include "video/decoders/VideoDecoderRaw.h"

namespace qvs {
namespace {

std::vector<uint8_t> configOf(std::vector<uint32_t> words) {
  std::vector<uint8_t> bytes;
  for (const uint32_t word : words)
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<uint8_t>(word >> shift));
  return bytes;
}

uint32_t configure(VideoDecoderRaw& decoder, std::vector<uint32_t> words) {
  auto bytes = configOf(std::move(words));
  return decoder.decodeCodecConfig(bytes.data(), 0, static_cast<uint32_t>(bytes.size()));
}

TEST(VideoDecoderRaw, RefusesFormsThatCannotBe) {
  VideoDecoderRaw decoder;
  for (const std::vector<uint32_t>& words :
       std::vector<std::vector<uint32_t>>{{16, 8, 16, 8, 0, 0, 16},
                                          {0, 8, 16, 8, 0, 0, 16, 8, 0},
                                          {16, 16385, 16, 8, 0, 0, 16, 8, 0},
                                          {16, 8, 15, 8, 0, 0, 16, 8, 0},
                                          {16, 8, 16, 7, 0, 0, 16, 8, 0},
                                          {16, 8, 0xFFFFFFFF, 8, 0, 0, 16, 8, 0},
                                          {16, 8, 16, 8, 1, 0, 8, 8, 0},
                                          {16, 8, 16, 8, 2, 0, 16, 8, 0},
                                          {16, 8, 16, 8, 0, 4, 16, 0xFFFFFFFE, 0},
                                          {16, 8, 16, 8, 16, 0, 0, 8, 0}}) {
    EXPECT_NE(configure(decoder, words), 0u) << words[0] << "x" << words[1] << " " << words.size();
  }
  EXPECT_EQ(configure(decoder, {16, 8, 16, 8, 0, 0, 16, 8, 0}), 0u);
}

// Planes whose samples tell their place, with strides of their own; the packet ends with V's last sample.
TEST(VideoDecoderRaw, ShowsThePartOfThePlanesAndReadsNoFurther) {
  constexpr uint32_t kWidth = 12, kHeight = 10, kStrideY = 20, kStrideC = 9;
  constexpr size_t kU = size_t{kStrideY} * kHeight, kV = kU + size_t{kStrideC} * kHeight / 2;
  constexpr size_t kSize = kV + size_t{kStrideC} * (kHeight / 2 - 1) + kWidth / 2;
  VideoDecoderRaw decoder;
  ASSERT_EQ(configure(decoder, {kWidth, kHeight, kStrideY, kStrideC, 2, 4, 8, 6, 0}), 0u);
  test::GuardedBytes packet(kSize);
  for (size_t i = 0; i < kSize; i++) packet.data()[i] = static_cast<uint8_t>(i * 7 % 251);
  uint32_t flags = 0;
  decoder.addFrame(packet.data(), 0, kSize - 1, 40, 1);
  EXPECT_EQ(decoder.decode(&flags), 0u);
  EXPECT_EQ(flags, DecodeFlagInputDone | DecodeFlagAborted);
  decoder.addFrame(packet.data(), 0, kSize, 80, 1);
  EXPECT_EQ(decoder.decode(&flags), 0u);
  ASSERT_EQ(flags, DecodeFlagInputDone | DecodeFlagPictureDone | DecodeFlagFrameAvailable);
  VideoFrameBuffer frame;
  frame.allocBuffer(8, 6, kFourCCYV12);
  ASSERT_EQ(decoder.getDecodedFrame(frame), 0u);
  EXPECT_EQ(frame.getTimecode(), 80u);
  for (uint32_t y = 0; y < 6; y++)
    EXPECT_EQ(memcmp(frame.getPlane(0) + y * frame.getStride(0), packet.data() + (y + 4) * kStrideY + 2, 8),
              0)
        << y;
  // "YV12": V lies before U.
  for (uint32_t y = 0; y < 3; y++) {
    EXPECT_EQ(
        memcmp(frame.getPlane(1) + y * frame.getStride(1), packet.data() + kV + (y + 2) * kStrideC + 1, 4),
        0);
    EXPECT_EQ(
        memcmp(frame.getPlane(2) + y * frame.getStride(2), packet.data() + kU + (y + 2) * kStrideC + 1, 4),
        0);
  }
  EXPECT_NE(configure(decoder, {0, 0, 0, 0, 0, 0, 0, 0, 0}), 0u) << "and the form before stays";
  decoder.addFrame(packet.data(), 0, kSize, 120, 1);
  decoder.decode(&flags);
  EXPECT_NE(flags & DecodeFlagFrameAvailable, 0u);
}

}  // namespace
}  // namespace qvs
