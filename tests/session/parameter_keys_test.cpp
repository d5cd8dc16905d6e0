// Which keys each stage has, and that every one of them keeps a value of its own.

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "audio/AudioDecoderAAC.h"
#include "audio/AudioDecoderMP2.h"
#include "audio/AudioEncoderAAC.h"
#include "audio/AudioEncoderOpus.h"
#include "contract/ParameterType.h"
#include "video/decoders/VideoDecoderH264.h"
#include "video/decoders/VideoDecoderH265.h"
#include "video/decoders/VideoDecoderMP2.h"
#include "video/decoders/VideoDecoderMP4.h"
#include "video/decoders/VideoDecoderVPX.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs {
namespace {

using Ranges = std::vector<std::pair<uint32_t, uint32_t>>;  ///< first and last key

bool holds(const Ranges& ranges, uint32_t key) {
  for (const auto& [first, last] : ranges) {
    if (key >= first && key <= last) return true;
  }
  return false;
}

template <typename Stage>
class StageKeys {
 public:
  explicit StageKeys(Ranges known) : ranges(std::move(known)) {}

  /// Keys of no range round each one's ends, and where other stages have theirs, answer nothing.
  void check() {
    for (const auto& [first, last] : ranges) {
      for (uint32_t key = first; key <= last; ++key) {
        EXPECT_EQ(stage.getParameterValueType(key, &length), kParameterLong) << key;
        EXPECT_EQ(stage.setParameterValue(key, static_cast<int64_t>(key % 1000) + 7), 0u) << key;
      }
      for (uint32_t key : {first - 1, last + 1, 10003u, 40018u, 100035u, 0xFFFFFFFEu}) {
        if (!holds(ranges, key)) expectUnknown(key);
      }
    }
    for (const auto& [first, last] : ranges) {
      for (uint32_t key = first; key <= last; ++key) EXPECT_EQ(value(key), key % 1000 + 7) << key;
    }
    EXPECT_EQ(length, 0u);
  }

 private:
  int64_t value(uint32_t key) {
    int64_t answer = -1;
    EXPECT_EQ(stage.getParameterValue(key, &answer), 0u);
    return answer;
  }

  void expectUnknown(uint32_t key) {
    EXPECT_EQ(stage.getParameterValueType(key, &length), kParameterUnknown) << key;
    EXPECT_EQ(stage.setParameterValue(key, int64_t{5}), 0u);
    EXPECT_EQ(value(key), 0) << key;
    EXPECT_EQ(stage.getParameterValue(key, static_cast<int64_t*>(nullptr)), 0u);
  }

  Stage stage;
  Ranges ranges;
  uint32_t length = 7;
};

TEST(ParameterKeys, OfEveryStageAreItsOwn) {
  StageKeys<VideoDecoderVPX>({{0, 1}, {100201, 100201}}).check();
  StageKeys<VideoDecoderH264>({{0, 1}, {10000, 10002}, {10004, 10008}, {100200, 100200}}).check();
  StageKeys<VideoDecoderH265>({{0, 1}, {10000, 10008}, {100200, 100200}}).check();
  StageKeys<VideoDecoderMP4>({{0, 1}, {10000, 10002}, {100200, 100200}}).check();
  StageKeys<VideoDecoderMP2>({{0, 1}, {10000, 10002}, {100200, 100200}}).check();
  StageKeys<VideoEncoderVPX>({{100000, 100034}, {100100, 100104}}).check();
  StageKeys<AudioDecoderAAC>({{0, 1}}).check();
  StageKeys<AudioDecoderMP2>({{0, 1}}).check();
  StageKeys<AudioEncoderAAC>({{40000, 40017}}).check();
}

TEST(ParameterKeys, OfTheOpusEncoderAreADoubleAndALong) {
  AudioEncoderOpus encoder;
  EXPECT_EQ(encoder.getParameterValueType(AudioEncoderOpus::kKeyGain, nullptr), kParameterDouble);
  EXPECT_EQ(encoder.getParameterValueType(AudioEncoderOpus::kKeyPreSkip, nullptr), kParameterLong);
  EXPECT_EQ(encoder.getParameterValueType(190002, nullptr), kParameterUnknown);
  double gain = 0;
  encoder.setParameterValue(AudioEncoderOpus::kKeyGain, 2.5);
  encoder.getParameterValue(AudioEncoderOpus::kKeyGain, &gain);
  EXPECT_EQ(gain, 2.5);
}

}  // namespace
}  // namespace qvs
