#include <gtest/gtest.h>

#include "support/DirectDecoder.h"
#include "support/SessionDriver.h"
#include "support/TestPicture.h"

namespace qvs::test {
namespace {

/// A good stream from its key frame on comes out right, whatever came before.
void expectGoodStream(SessionDriver& driver, const std::vector<Packet>& stream, uint32_t codecVersion,
                      const std::string& after) {
  DirectDecoder direct(codecVersion);
  driver.keepPictures(true);
  for (size_t i = 0; i < stream.size(); ++i) {
    const auto result = driver.feed(stream[i], 1000 + 40 * i, i == 0 ? 1 : 2);
    EXPECT_FALSE(result.failed) << after << ", picture " << i;
    ASSERT_TRUE(result.picture) << after << ", picture " << i;
    EXPECT_GT(result.packetCount, 0u) << after << ", picture " << i;
    EXPECT_TRUE(result.decoded == direct.decode(stream[i])) << after << ", picture " << i;
  }
}

class HostilePackets : public testing::TestWithParam<uint32_t> {
 protected:
  std::vector<Packet> stream = makePackets(GetParam(), 96, 64, 4);
  SessionDriver driver{{.codecVersion = GetParam(), .rungs = {{48, 32}}}, OnFailure::kGoOn};

  void SetUp() override { ASSERT_TRUE(driver.isOpen()); }
};

// Flipped bits and noise come from the fuzz corpus.
TEST_P(HostilePackets, TruncatedEmptyAndForeign) {
  for (size_t keep = 0; keep < stream[0].size(); keep += 1 + keep / 16) {
    driver.feed(std::span(stream[0]).first(keep), 0, 1);
  }
  for (size_t keep = 0; keep < stream[1].size(); ++keep) driver.feed(std::span(stream[1]).first(keep), 40);
  expectGoodStream(driver, stream, GetParam(), "after cut packets");
  for (const auto& packet : makePackets(GetParam() == 8 ? 9u : 8u, 96, 64, 3)) driver.feed(packet, 0);
  driver.feed({}, 0);
  expectGoodStream(driver, stream, GetParam(), "after packets of another codec and nothing");
}

TEST_P(HostilePackets, SizesChangeInMidStream) {
  constexpr std::pair<uint32_t, uint32_t> kSizes[] = {{96, 64}, {192, 128}, {34, 18}, {35, 17},   {1, 1},
                                                      {16, 8},  {177, 145}, {2, 66},  {640, 360}, {96, 64}};
  for (const auto& [width, height] : kSizes) {
    const auto part = makePackets(GetParam(), width, height, 2);
    expectGoodStream(driver, part, GetParam(), std::to_string(width) + "x" + std::to_string(height));
  }
}

TEST_P(HostilePackets, SizeLimitStopsThePictureAndOnlyIt) {
  driver.session().videoDecoderSetFrameSizeLimits(100, 100, 32, 32);
  const auto large = makePackets(GetParam(), 192, 64, 2);
  for (const auto& packet : large) {
    const auto result = driver.feed(packet, 0);
    EXPECT_TRUE(result.picture);
    EXPECT_TRUE(result.failed);
  }
  expectGoodStream(driver, stream, GetParam(), "after pictures over the limit");
}

TEST_P(HostilePackets, AnnouncedSizeOverThePoolsLimit) {
  Packet huge = stream[0];
  if (GetParam() != 8) GTEST_SKIP() << "the size of a VP9 picture is not at a fixed byte";
  huge[6] = huge[8] = 0xFF;  // 16383 x 16383, with no scaling
  huge[7] = huge[9] = 0x3F;
  driver.feed(huge, 0, 1);
  expectGoodStream(driver, stream, GetParam(), "after a picture of 16383 x 16383");
}

TEST_P(HostilePackets, FullPoolLosesNothing) {
  auto& session = driver.session();
  std::vector<uint32_t> held;
  for (uint32_t index = 0; session.videoDecoderBufferAllocate(&index) == 0;) held.push_back(index);
  EXPECT_EQ(held.size(), 2u);
  EXPECT_TRUE(driver.feed(stream[0], 0, 1).failed);
  for (const auto index : held) EXPECT_EQ(session.videoDecoderBufferRelease(index), 0u);
  expectGoodStream(driver, stream, GetParam(), "after a full pool");
}

INSTANTIATE_TEST_SUITE_P(Codecs, HostilePackets, testing::Values(8u, 9u),
                         [](const auto& info) { return "VP" + std::to_string(info.param); });

}  // namespace
}  // namespace qvs::test
