// A whole session may allocate its coded packets and nothing else once the first pictures have passed.

#include <gtest/gtest.h>

#include "ladder/CodecProbe.h"
#include "ladder/SessionLadder.h"
#include "support/TestPicture.h"
#include "video/decoders/UnitStream.h"

namespace qvs::test {
namespace {

constexpr uint64_t kWarmUp = bench::kKeyFrameInterval + 10;       ///< a requested key frame lies inside,
constexpr uint64_t kFrames = kWarmUp + bench::kKeyFrameInterval;  ///< and one among those counted
constexpr int kWidth = 176;
constexpr int kHeight = 144;

constexpr bench::Rung kRungs[] = {{160, 96, 300'000}, {96, 64, 200'000}, {64, 48, 100'000}};

struct Input {
  MediaBytes config;
  std::vector<MediaBytes> packets;
};

Input makeInput(bench::Codec codec) {
  Input input;
  if (codec == bench::Codec::kH264) {
    UnitStream stream = makeUnitStream(
        {.codec = 7, .width = kWidth, .height = kHeight, .frames = kFrames, .keyInterval = 30});
    input.config = stream.config;
    for (MediaUnit& unit : stream.units) input.packets.push_back(std::move(unit.bytes));
  } else {
    const uint32_t version = codec == bench::Codec::kVP9 ? 9 : 8;
    for (auto& packet : makeStream(version, kWidth, kHeight, kFrames).packets)
      input.packets.push_back(std::move(packet.bytes));
  }
  return input;
}

class SessionSteadyState : public testing::TestWithParam<std::tuple<bench::Codec, bool>> {};

TEST_P(SessionSteadyState, AllocatesOnlyCodedPackets) {
  const auto [codec, parallel] = GetParam();
  Input input = makeInput(codec);
  ASSERT_EQ(input.packets.size(), kFrames);
  const bench::LadderSpec spec{"test", codec, "", kRungs};
  bench::SessionLadder ladder(spec, codec, input.config, parallel, {});
  const auto run = [&](uint64_t from, uint64_t to) {
    for (uint64_t number = from; number < to; ++number) ladder.transcode(input.packets[number], number);
  };
  run(0, kWarmUp);
  const uint64_t packets = ladder.packetCount();
  const bench::AllocationCounts before = bench::allocationCounts();
  run(kWarmUp, kFrames);
  const bench::AllocationCounts after = bench::allocationCounts();
  // One in and one from each rung: that many blocks there must be.
  EXPECT_EQ(ladder.packetCount() - packets, 4 * (kFrames - kWarmUp));
  EXPECT_EQ(after.other - before.other, ladder.packetCount() - packets);
}

INSTANTIATE_TEST_SUITE_P(
    Ladders, SessionSteadyState,
    testing::Combine(testing::Values(bench::Codec::kVP8, bench::Codec::kVP9, bench::Codec::kH264),
                     testing::Bool()),
    [](const auto& info) {
      const bench::Codec codec = std::get<0>(info.param);
      const char* name = codec == bench::Codec::kVP8 ? "VP8" : codec == bench::Codec::kVP9 ? "VP9" : "H264";
      return std::string(name) + (std::get<1>(info.param) ? "SideBySide" : "");
    });

}  // namespace
}  // namespace qvs::test
