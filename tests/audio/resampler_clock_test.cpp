// Ten hours of simulated time: what the output clock says, and that no sample is lost or doubled.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

#include "SampleBlocks.h"

namespace qvs {
namespace {

constexpr uint64_t kHours = 10;
constexpr uint64_t kMinutesBetweenBreaks = 7;

/// A sound that repeats each second, as a table of two of them. Steep: a sample early or late shows.
std::vector<int16_t> secondOf(uint32_t rate) {
  std::vector<int16_t> table(2 * rate);
  for (uint32_t at = 0; at < table.size(); ++at) {
    const double turn = 2 * std::numbers::pi * at / rate;
    table[at] = static_cast<int16_t>(std::lrint(12000 * std::sin(turn * 313) + 12000 * std::cos(turn * 50)));
  }
  return table;
}

/// What comes out from one set-up to the next.
class Segment {
 public:
  Segment(uint32_t from, uint32_t to) : from(from), to(to), table(secondOf(to)) {}

  void start(uint64_t timecode) {
    first = timecode * to / from;
    // The sound's place in its second, at the target's rate: rarely a whole sample.
    place = static_cast<double>(timecode % from) * to / from;
    in = out = 0;
  }

  void count(const AudioSampleBuffer& block) {
    if (block.getSampleCount() == 0) return;
    ASSERT_EQ(block.getTimecode(), first + out);
    const auto* samples = reinterpret_cast<const int16_t*>(block.getBuffer());
    const double exact = std::fmod(place + static_cast<double>(out), to);
    const auto at = static_cast<uint32_t>(exact);
    const double part = exact - at;
    int worst = 0;
    // The first and last 2 ms of a segment are the filter's.
    for (uint32_t i = out == 0 ? to / 500 : 0; i + to / 500 < block.getSampleCount(); i += 7) {
      const uint32_t index = (at + i) % to;
      const double wanted = table[index] + part * (table[index + 1] - table[index]);
      worst = std::max(worst, std::abs(samples[i] - static_cast<int>(wanted)));
    }
    ASSERT_LE(worst, 12) << "at output sample " << first + out;
    out += block.getSampleCount();
  }

  void end() const { EXPECT_EQ(out, (2 * in * to + from - 1) / (2 * uint64_t{from})); }

  uint64_t in = 0;

 private:
  uint32_t from;
  uint32_t to;
  std::vector<int16_t> table;
  uint64_t first = 0;
  double place = 0;
  uint64_t out = 0;
};

class ResamplerClock : public testing::TestWithParam<std::pair<uint32_t, uint32_t>> {};

TEST_P(ResamplerClock, TenHoursWithABreakEverySevenMinutes) {
  const auto [from, to] = GetParam();
  const auto table = secondOf(from);
  AudioResampler resampler;
  test::setTarget(resampler, to, 1);
  AudioSampleBuffer in, out;
  Segment segment(from, to), before(from, to);
  uint64_t timecode = 5 * from + 17;
  uint64_t breaks = 0;
  bool broken = true;
  segment.start(timecode);
  for (const uint64_t end = kHours * 3600 * from; timecode < end;) {
    const auto count =
        static_cast<uint32_t>(std::min<uint64_t>(16384, kMinutesBetweenBreaks * 60 * from - segment.in));
    test::fillBlock(in, table.data() + timecode % from, count, 1, from, timecode);
    resampler.resample(in, out);
    Segment& owner = broken && breaks != 0 ? before : segment;
    ASSERT_NO_FATAL_FAILURE(owner.count(out));
    if (&owner == &before) before.end();
    broken = false;
    segment.in += count;
    timecode += count;
    if (segment.in == kMinutesBetweenBreaks * 60 * from) {
      constexpr int64_t kJumps[] = {1, -1, 44100, -44100, 333, -77};
      timecode += static_cast<uint64_t>(kJumps[breaks++ % std::size(kJumps)]);
      before = segment;
      segment.start(timecode);
      broken = true;
    }
  }
  EXPECT_GT(breaks, 80u);
}

INSTANTIATE_TEST_SUITE_P(Rates, ResamplerClock,
                         testing::Values(std::pair{44100u, 48000u}, std::pair{48000u, 44100u}),
                         [](const auto& info) { return std::to_string(info.param.first); });

}  // namespace
}  // namespace qvs
