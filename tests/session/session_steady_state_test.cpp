// A whole session may allocate its coded packets and nothing else once the first pictures have passed.

#include <gtest/gtest.h>

#include "support/AllocationCounter.h"
#include "support/SessionDriver.h"
#include "support/TestPicture.h"
#include "video/decoders/UnitStream.h"

namespace qvs::test {
namespace {

constexpr uint64_t kKeyInterval = 60;
constexpr uint64_t kWarmUp = kKeyInterval + 10;       ///< a requested key frame lies inside,
constexpr uint64_t kFrames = kWarmUp + kKeyInterval;  ///< and one among those counted
constexpr int kWidth = 176;
constexpr int kHeight = 144;

struct Input {
  MediaBytes config;
  std::vector<Packet> packets;
};

struct CodecOf {
  const char* name;
  uint32_t codec, version;
};

Input makeInput(const CodecOf& codec) {
  if (codec.codec == kVideoCodecVPX) return {{}, makePackets(codec.version, kWidth, kHeight, kFrames)};
  UnitStream stream = makeUnitStream(
      {.codec = codec.codec, .width = kWidth, .height = kHeight, .frames = kFrames, .keyInterval = 30});
  Input input{stream.config, {}};
  for (MediaUnit& unit : stream.units) input.packets.push_back(std::move(unit.bytes));
  return input;
}

class SessionSteadyState : public testing::TestWithParam<std::tuple<CodecOf, bool>> {};

TEST_P(SessionSteadyState, AllocatesOnlyCodedPackets) {
  const auto& [codec, asynchronous] = GetParam();
  Input input = makeInput(codec);
  ASSERT_EQ(input.packets.size(), kFrames);
  RungSetup rung{.codec = codec.codec, .codecVersion = codec.version, .asynchronous = asynchronous};
  SessionSetup setup{.codec = codec.codec,
                     .codecVersion = codec.version,
                     .config = input.config,
                     .decoderParameters = oneThreadDecoding(codec.codec),
                     .sink = [](uint32_t, const VideoFrameEncoded&) {}};
  for (const auto& [width, height] : {std::pair{160u, 96u}, {96u, 64u}, {64u, 48u}}) {
    rung.width = width;
    rung.height = height;
    setup.rungs.push_back(rung);
  }
  SessionDriver driver(setup);
  const auto run = [&](uint64_t from, uint64_t to) {
    for (uint64_t number = from; number < to; ++number)
      driver.feed(input.packets[number], number * 40, number % kKeyInterval == 0 ? 1 : 2);
  };
  run(0, kWarmUp);
  const uint64_t packets = driver.packetCount();
  const uint64_t before = allocationsSoFar();
  run(kWarmUp, kFrames);
  const uint64_t made = allocationsSoFar() - before;
  // One in and one from each rung: that many blocks there must be.
  EXPECT_EQ(driver.packetCount() - packets, 4 * (kFrames - kWarmUp));
  EXPECT_EQ(made, driver.packetCount() - packets);
}

INSTANTIATE_TEST_SUITE_P(Ladders, SessionSteadyState,
                         testing::Combine(testing::Values(CodecOf{"VP8", kVideoCodecVPX, 8},
                                                          CodecOf{"VP9", kVideoCodecVPX, 9},
                                                          CodecOf{"H264", kVideoCodecH264, 0}),
                                          testing::Bool()),
                         [](const auto& info) {
                           return std::string(std::get<0>(info.param).name) +
                                  (std::get<1>(info.param) ? "SideBySide" : "");
                         });

}  // namespace
}  // namespace qvs::test
