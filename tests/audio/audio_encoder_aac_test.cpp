#include "audio/AudioEncoderAAC.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

#include "AudioBlocks.h"
#include "log/LogCollector.h"

namespace qvs {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr uint32_t kHe = 40004;
constexpr uint32_t kChannelCopy = 40007;
constexpr uint32_t kHeaderType = 40010;
constexpr size_t kFrame = 1024;

class AacEncoder : public testing::Test {
 protected:
  AacEncoder() { setUp(48000, 2, 192000); }

  void setUp(uint32_t sampleRate, uint32_t channels, uint32_t bitrate) {
    encoder = std::make_unique<AudioEncoderAAC>();
    encoder->setLogger(&log);
    encoder->setSessionIndex(3);
    encoder->setSampleRate(sampleRate);
    encoder->setChannels(channels);
    encoder->setBitrate(bitrate);
  }

  /// Warnings and errors since the last call, without the common front.
  std::vector<std::string> complaints() {
    std::vector<LogStatement> statements;
    log.getLogStatements(statements);
    std::vector<std::string> texts;
    for (const LogStatement& statement : statements) {
      EXPECT_EQ(statement.contextType, kLogContextAudioEncoder);
      EXPECT_EQ(statement.contextIndex, 3);
      if (statement.level >= kLogWarn) texts.push_back(statement.str);
    }
    return texts;
  }

  LogCollector log;
  std::unique_ptr<AudioEncoderAAC> encoder;
};

constexpr const char* kFront = "AudioEncoderAAC.initialize[{context}]: ";

TEST_F(AacEncoder, LimitsTheBitrateByRateChannelsAndMode) {
  struct Case {
    uint32_t he, sampleRate, channels, wanted, given;
  };
  // clang-format off
  constexpr Case kCases[] = {
      {0, 44100, 2, 600000, 523000}, {0, 44100, 2, 523000, 523000}, {0, 44100, 1, 10999, 11000},
      {0, 8000, 1, 1, 2000},         {0, 96000, 2, 2000000, 1140000}, {0, 12000, 2, 1, 4000},
      {1, 48000, 2, 20000, 32000},   {1, 48000, 1, 20000, 20000},   {1, 48000, 6, 200000, 96000},
      {2, 48000, 2, 20000, 20000},   {2, 32000, 2, 99000, 56000},
      {0, 48000, 6, 2000000, 1728000}, {0, 48000, 6, 1000, 16000},  // off the table: six bits a sample
      {1, 8000, 1, 60000, 48000},    {0, 7350, 1, 50000, 44100},
  };
  // clang-format on
  for (const Case& c : kCases) {
    SCOPED_TRACE(
        fmt::format("he {} rate {} channels {} wanted {}", c.he, c.sampleRate, c.channels, c.wanted));
    setUp(c.sampleRate, c.channels, c.wanted);
    encoder->setParameterValue(kHe, int64_t{c.he});
    encoder->initialize();
    EXPECT_EQ(encoder->getBitrate(), c.given);
    const std::string line = fmt::format("{}Bitrate is too {} for sample rate. Bitrate adjust from {} to {}",
                                         kFront, c.wanted > c.given ? "high" : "low", c.wanted, c.given);
    const auto texts = complaints();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), line), c.wanted != c.given);
  }
}

TEST_F(AacEncoder, WarnsOfRatesAndChannelsThatTheModeLacks) {
  setUp(7350, 2, 64000);
  EXPECT_EQ(encoder->initialize(), 0u);
  EXPECT_THAT(
      complaints(),
      ElementsAre(std::string(kFront) +
                  "Sample frequency is not supported by LC-AAC [supported: 8000, 11025, 12000, 16000, "
                  "22050, 24000, 32000, 44100, 48000, 64000, 88200, 96000]: 7350"));
  setUp(64000, 1, 64000);
  encoder->setParameterValue(kHe, int64_t{2});
  encoder->initialize();
  EXPECT_THAT(
      complaints(),
      ElementsAre(std::string(kFront) +
                      "Sample frequency is not supported by HE-AAC v2 [supported: 16000, 22050, 24000, "
                      "32000, 44100, 48000]: 64000",
                  std::string(kFront) + "Audio must be stereo to use HE-AAC v2: 1",
                  std::string(kFront) + "Error aacOutAudioChkSettings"));
}

TEST_F(AacEncoder, RefusesWhatTheLibraryCannotServeAndSaysWhy) {
  struct Case {
    uint32_t key;
    int64_t value;
    const char* reason;
  };
  constexpr Case kCases[] = {
      {40004, 1, "spectral band replication"},
      {40004, 2, "spectral band replication"},
      {40001, 1, "LC object type"},
      {40000, 3, "mpeg_version"},
      {40003, 11, "vbr"},
      {40005, 1, "checksums"},
      {40010, 2, "header_type"},
      {40013, -1, "pts_units"},
      {40014, 3, "custom channel modes"},
      {40016, 1, "restart_interval"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.key);
    setUp(48000, 2, 64000);
    encoder->setParameterValue(c.key, c.value);
    testing::internal::CaptureStdout();
    EXPECT_EQ(encoder->initialize(), 0xFFFFFFFEu);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr(c.reason));
    EXPECT_THAT(complaints(), ElementsAre(std::string(kFront) + "Error aacOutAudioChkSettings"));
    std::vector<AudioFrameEncoded> frames;
    EXPECT_EQ(encoder->addSampleBuffer(makeBlock(makeSweep(48000, 2, kFrame), 0, kFrame, 0), frames),
              0xFFFFFFFFu);
    EXPECT_THAT(frames, IsEmpty());
  }
  for (const auto& [rate, channels] :
       {std::pair{1u, 2u}, {4000000000u, 2u}, {48000u, 0u}, {48000u, 7u}, {48000u, 9u}, {48000u, ~0u}}) {
    setUp(rate, channels, 128000);
    EXPECT_EQ(encoder->initialize(), 0xFFFFFFFEu) << rate << " Hz, channels " << channels;
  }
}

TEST_F(AacEncoder, SettingsThatAreServedChangeWhatIsCoded) {
  const AudioClip clip = makeSweep(48000, 2, 20 * kFrame);
  ASSERT_EQ(encoder->initialize(), 0u);
  const auto plain = encodeAll(*encoder, clip, {kFrame});
  for (const auto& [key, value] : {std::pair{40000u, 2},
                                   {40002u, 3000},
                                   {40003u, 1},
                                   {40003u, 10},
                                   {40014u, 1},
                                   {40014u, 2},
                                   {40017u, 64},
                                   {40017u, 320}}) {
    SCOPED_TRACE(fmt::format("key {} value {}", key, value));
    setUp(48000, 2, 192000);
    encoder->setParameterValue(key, int64_t{value});
    ASSERT_EQ(encoder->initialize(), 0u);
    const auto units = encodeAll(*encoder, clip, {kFrame});
    EXPECT_NE(joined(units), joined(plain));
    EXPECT_EQ(decodeFile(joined(units), "aac").length(), 18 * kFrame);
  }
  for (const auto& [key, value] : {std::pair{40012u, 90000}, {40013u, 90000}, {40015u, 1}}) {
    setUp(48000, 2, 192000);
    encoder->setParameterValue(key, int64_t{value});
    ASSERT_EQ(encoder->initialize(), 0u);
    EXPECT_EQ(encodeAll(*encoder, clip, {kFrame}), plain) << "key " << key << " is not about the bytes";
  }
}

TEST_F(AacEncoder, AGapInTheInputShowsInTheTimecodes) {
  ASSERT_EQ(encoder->initialize(), 0u);
  const AudioClip clip = makeSweep(48000, 2, 6 * kFrame);
  std::vector<AudioFrameEncoded> frames;
  uint64_t timecode = 100;
  for (size_t i = 0; i < 12; ++i) {
    encoder->addSampleBuffer(makeBlock(clip, i * 512, 512, timecode), frames);
    timecode += i == 4 ? 512 + 48000 : 512;  // within the third frame
  }
  std::vector<uint64_t> timecodes;
  for (const Unit& unit : takeUnits(frames)) timecodes.push_back(unit.timecode);
  EXPECT_THAT(timecodes, ElementsAre(100, 1124, 2148, 100 + 3072 + 48000));
}

TEST_F(AacEncoder, FramesCarryTheirConfiguration) {
  for (const auto& [rate, channels] : {std::pair{8000u, 1u}, {44100u, 2u}, {48000u, 6u}, {96000u, 8u}}) {
    setUp(rate, channels, 64000 * channels);
    ASSERT_EQ(encoder->initialize(), 0u);
    const auto units = encodeAll(*encoder, makeSweep(rate, channels, 10 * kFrame), {kFrame});
    ASSERT_EQ(units.size(), 8u);
    for (const Unit& unit : units) {
      const auto& b = unit.bytes;
      ASSERT_GT(b.size(), 7u);
      EXPECT_EQ(b[0], 0xFF);
      EXPECT_EQ(b[1], 0xF1);
      EXPECT_EQ(b[2] >> 6, 1) << "LC";
      EXPECT_EQ(size_t{(b[3] & 3u) << 11 | b[4] << 3u | b[5] >> 5u}, b.size());
      EXPECT_EQ(unit.channels, channels);
      EXPECT_EQ(unit.sampleRate, rate);
    }
    const AudioClip decoded = decodeFile(joined(units), "aac");
    EXPECT_EQ(decoded.sampleRate, rate);
    EXPECT_EQ(decoded.channels, channels);
    EXPECT_EQ(decoded.length(), 8 * kFrame);
  }
  EXPECT_THAT(headersOf(*encoder), IsEmpty());
}

TEST_F(AacEncoder, RawUnitsAreTheSameWithoutHeaders) {
  const AudioClip clip = makeSweep(48000, 2, 10 * kFrame);
  ASSERT_EQ(encoder->initialize(), 0u);
  const auto headed = encodeAll(*encoder, clip, {kFrame});
  encoder->setParameterValue(kHeaderType, int64_t{0});
  ASSERT_EQ(encoder->initialize(), 0u);
  const auto raw = encodeAll(*encoder, clip, {kFrame});
  ASSERT_EQ(raw.size(), headed.size());
  for (size_t i = 0; i < raw.size(); ++i) {
    EXPECT_EQ(raw[i].bytes, (std::vector<uint8_t>{headed[i].bytes.begin() + 7, headed[i].bytes.end()}));
  }
}

TEST_F(AacEncoder, DecodedAudioLiesWhereItWasPutIn) {
  ASSERT_EQ(encoder->initialize(), 0u);
  const AudioClip clip = makeSweep(48000, 2, 60 * kFrame);
  const AudioClip decoded = decodeFile(joined(encodeAll(*encoder, clip, {441})), "aac");
  EXPECT_GT(snrDb(clip, decoded, 2 * kFrame, 50 * kFrame), 20.0);
  for (size_t at : {3000u, 10240u, 40001u}) {
    ASSERT_EQ(encoder->initialize(), 0u);
    const AudioClip click = makeClick(48000, 2, 60 * kFrame, at);
    const auto units = encodeAll(*encoder, click, {960});
    ASSERT_EQ(units.front().timecode, 0u);
    EXPECT_NEAR(static_cast<double>(peakOf(decodeFile(joined(units), "aac"))), static_cast<double>(at), 4);
  }
}

TEST_F(AacEncoder, ChannelCopyPutsOneChannelOnBothSides) {
  const AudioClip both = makeClip(48000, 2, 20 * kFrame, [](size_t i, uint32_t channel) {
    return channel == 0 ? 0.5 * std::sin(static_cast<double>(i) * 0.05) : 0.0;
  });
  for (const auto& [copy, loud] : {std::pair{1, true}, {2, false}}) {
    encoder->setParameterValue(kChannelCopy, int64_t{copy});
    ASSERT_EQ(encoder->initialize(), 0u);
    const AudioClip decoded = decodeFile(joined(encodeAll(*encoder, both, {1000})), "aac");
    int peaks[2] = {};
    for (size_t i = 2 * kFrame; i < decoded.length(); ++i) {
      for (uint32_t channel : {0u, 1u})
        peaks[channel] = std::max(peaks[channel], std::abs(int{decoded.at(i, channel)}));
    }
    for (int peak : peaks) EXPECT_EQ(peak > 14000, loud) << peak;
  }
}

}  // namespace
}  // namespace qvs
