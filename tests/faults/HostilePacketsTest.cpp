#include <gtest/gtest.h>

#include <random>

#include "road/Road.h"

namespace qvs::test {
namespace {

void expectSamePicture(const DecodedPicture& picture, const DecodedPicture& expected,
                       const std::string& what) {
  ASSERT_EQ(picture.width, expected.width) << what;
  ASSERT_EQ(picture.height, expected.height) << what;
  for (int plane = 0; plane < 3; ++plane) EXPECT_EQ(picture.planes[plane], expected.planes[plane]) << what;
}

/// A good stream from its key frame on comes out right, whatever came before.
void expectGoodStream(Road& road, const std::vector<Packet>& stream, uint32_t codecVersion,
                      const std::string& after) {
  DirectDecoder direct(codecVersion);
  road.keepPictures(true);
  for (size_t i = 0; i < stream.size(); ++i) {
    const auto result = road.feed(stream[i], 1000 + 40 * i, i == 0 ? 1 : 2);
    EXPECT_FALSE(result.failed) << after << ", picture " << i;
    ASSERT_TRUE(result.picture) << after << ", picture " << i;
    EXPECT_GT(result.packetCount, 0u) << after << ", picture " << i;
    expectSamePicture(result.decoded, direct.decode(stream[i]), after);
  }
}

class HostilePackets : public testing::TestWithParam<uint32_t> {
 protected:
  std::vector<Packet> stream = makePackets(GetParam(), 96, 64, 4);
  Road road{RoadSetup{.codecVersion = GetParam(), .rungs = {{48, 32}}}};

  void SetUp() override { ASSERT_TRUE(road.open()); }
};

TEST_P(HostilePackets, TruncatedAtEveryLength) {
  for (size_t keep = 0; keep < stream[0].size(); keep += 1 + keep / 16) {
    road.feed(std::span(stream[0]).first(keep), 0, 1);
  }
  for (size_t keep = 0; keep < stream[1].size(); ++keep) road.feed(std::span(stream[1]).first(keep), 40);
  expectGoodStream(road, stream, GetParam(), "after cut packets");
}

TEST_P(HostilePackets, FlippedBits) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    Packet hurt = stream[static_cast<size_t>(round) % stream.size()];
    // Not the size fields of a key frame: huge pictures are a test of their own.
    const size_t first = std::min<size_t>(12, hurt.size() - 1);
    for (int bit = 0; bit < 1 + round % 8; ++bit) {
      hurt[first + random() % (hurt.size() - first)] ^= static_cast<uint8_t>(1u << (random() % 8));
    }
    road.feed(hurt, static_cast<uint64_t>(round) * 40);
  }
  expectGoodStream(road, stream, GetParam(), "after flipped bits");
}

TEST_P(HostilePackets, EmptyForeignAndNoise) {
  const auto foreign = makePackets(GetParam() == 8 ? 9u : 8u, 96, 64, 3);
  for (const auto& packet : foreign) road.feed(packet, 0);
  std::mt19937 random(11);
  for (size_t length : {0, 1, 2, 3, 9, 10, 64, 5000}) {
    Packet noise(length);
    for (auto& byte : noise) byte = static_cast<uint8_t>(random());
    if (length > 9) noise[6] = noise[7] = noise[8] = noise[9] = 0;  // see above
    road.feed(noise, 0);
  }
  road.feed({}, 0);
  expectGoodStream(road, stream, GetParam(), "after packets of another codec, noise and nothing");
}

TEST_P(HostilePackets, SizesChangeInMidStream) {
  constexpr std::pair<uint32_t, uint32_t> kSizes[] = {{96, 64}, {192, 128}, {34, 18}, {35, 17},   {1, 1},
                                                      {16, 8},  {177, 145}, {2, 66},  {640, 360}, {96, 64}};
  for (const auto& [width, height] : kSizes) {
    const auto part = makePackets(GetParam(), width, height, 2);
    expectGoodStream(road, part, GetParam(), std::to_string(width) + "x" + std::to_string(height));
  }
}

TEST_P(HostilePackets, SizeLimitStopsThePictureAndOnlyIt) {
  road.getSession().videoDecoderSetFrameSizeLimits(100, 100, 32, 32);
  const auto large = makePackets(GetParam(), 192, 64, 2);
  for (const auto& packet : large) {
    const auto result = road.feed(packet, 0);
    EXPECT_TRUE(result.picture);
    EXPECT_TRUE(result.failed);
  }
  expectGoodStream(road, stream, GetParam(), "after pictures over the limit");
}

TEST_P(HostilePackets, AnnouncedSizeOverThePoolsLimit) {
  Packet huge = stream[0];
  if (GetParam() != 8) GTEST_SKIP() << "the size of a VP9 picture is not at a fixed byte";
  huge[6] = huge[8] = 0xFF;  // 16383 x 16383, with no scaling
  huge[7] = huge[9] = 0x3F;
  road.feed(huge, 0, 1);
  expectGoodStream(road, stream, GetParam(), "after a picture of 16383 x 16383");
}

TEST_P(HostilePackets, FullPoolLosesNothing) {
  auto& session = road.getSession();
  std::vector<uint32_t> held;
  for (uint32_t index = 0; session.videoDecoderBufferAllocate(&index) == 0;) held.push_back(index);
  EXPECT_EQ(held.size(), 2u);
  EXPECT_TRUE(road.feed(stream[0], 0, 1).failed);
  for (const auto index : held) EXPECT_EQ(session.videoDecoderBufferRelease(index), 0u);
  expectGoodStream(road, stream, GetParam(), "after a full pool");
}

INSTANTIATE_TEST_SUITE_P(Codecs, HostilePackets, testing::Values(8u, 9u),
                         [](const auto& info) { return "VP" + std::to_string(info.param); });

}  // namespace
}  // namespace qvs::test
