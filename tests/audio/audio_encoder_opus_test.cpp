#include "audio/AudioEncoderOpus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opus.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "AudioBlocks.h"
#include "log/LogCollector.h"
#include "SampleBlocks.h"

namespace qvs {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

/// What a decoder makes of packets, without any pre-skip taken off.
AudioClip decode(const std::vector<Unit>& units, uint32_t sampleRate, uint32_t channels) {
  int err = 0;
  OpusDecoder* decoder =
      opus_decoder_create(static_cast<opus_int32>(sampleRate), static_cast<int>(channels), &err);
  AudioClip clip{sampleRate, channels, {}};
  std::vector<int16_t> block(size_t{5760} * channels);
  for (const Unit& unit : units) {
    const int count = opus_decode(decoder, unit.bytes.data(), static_cast<opus_int32>(unit.bytes.size()),
                                  block.data(), 5760, 0);
    EXPECT_GT(count, 0);
    clip.samples.insert(clip.samples.end(), block.begin(),
                        block.begin() + count * static_cast<int>(channels));
  }
  opus_decoder_destroy(decoder);
  return clip;
}

class OpusEncoderClass : public testing::Test {
 protected:
  OpusEncoderClass() { setUp(48000, 2, 128000); }

  void setUp(uint32_t sampleRate, uint32_t channels, uint32_t bitrate) {
    encoder = std::make_unique<AudioEncoderOpus>();
    encoder->setLogger(&log);
    encoder->setSampleRate(sampleRate);
    encoder->setChannels(channels);
    encoder->setBitrate(bitrate);
  }

  LogCollector log;
  std::unique_ptr<AudioEncoderOpus> encoder;
};

TEST_F(OpusEncoderClass, HeaderIsTheIdentificationHeader) {
  setUp(16000, 1, 32000);
  encoder->setParameterValue(AudioEncoderOpus::kKeyGain, -1.5);
  ASSERT_EQ(encoder->initialize(), 0u);
  EXPECT_THAT(linesOf(log),
              ElementsAre("AudioEncoderOpus.initialize[{context}]: Audio gain is set to: -1.5 dB"));
  const auto headers = headersOf(*encoder);
  ASSERT_EQ(headers.size(), 1u);
  EXPECT_EQ(headers[0].timecode, 0u);
  EXPECT_THAT(headers[0].bytes, ElementsAre('O', 'p', 'u', 's', 'H', 'e', 'a', 'd', 1, 1, 0, 0, 0x80, 0x3E, 0,
                                            0, 0x80, 0xFE, 0));
  for (double gain : {1e30, -1e30, std::nan(""), std::numeric_limits<double>::infinity()}) {
    encoder->setParameterValue(AudioEncoderOpus::kKeyGain, gain);
    ASSERT_EQ(encoder->initialize(), 0u);
    ASSERT_EQ(headersOf(*encoder).size(), 1u) << "a second initialize leaves one header";
  }
  EXPECT_EQ(headersOf(*encoder)[0].bytes[17], 0x7F) << "as loud as the field can say";
}

TEST_F(OpusEncoderClass, DecodedAudioIsLateByThePreSkipAndByNothingElse) {
  for (uint32_t rate : {8000u, 12000u, 16000u, 24000u, 48000u}) {
    SCOPED_TRACE(rate);
    setUp(rate, 1, 64000);
    encoder->setParameterValue(AudioEncoderOpus::kKeyPreSkip, int64_t{1});
    ASSERT_EQ(encoder->initialize(), 0u);
    int64_t preSkip = 0;
    encoder->getParameterValue(AudioEncoderOpus::kKeyPreSkip, &preSkip);
    EXPECT_EQ(preSkip, 312) << "6.5 ms at 48 kHz";
    const auto header = headersOf(*encoder)[0].bytes;
    EXPECT_EQ(header[10] | header[11] << 8, preSkip);
    const size_t at = rate / 2 + 11;
    const auto units = encodeAll(*encoder, makeClick(rate, 1, rate, at), {441}, 0);
    EXPECT_EQ(units.front().timecode, 0u);
    const double late = static_cast<double>(preSkip) * rate / 48000;
    EXPECT_NEAR(static_cast<double>(peakOf(decode(units, rate, 1))), static_cast<double>(at) + late,
                rate / 4000.0);
  }
}

TEST_F(OpusEncoderClass, AudioSurvives) {
  ASSERT_EQ(encoder->initialize(), 0u);
  const AudioClip clip = makeSweep(48000, 2, 48000);
  AudioClip decoded = decode(encodeAll(*encoder, clip, {1024}), 48000, 2);
  decoded.samples.erase(decoded.samples.begin(), decoded.samples.begin() + 312 * 2);
  EXPECT_GT(snrDb(clip, decoded, 4800, 40000), 15.0);
}

TEST_F(OpusEncoderClass, WhatTheCodecRefusesHasALineAndDropsBlocks) {
  struct Case {
    uint32_t sampleRate, channels, bitrate;
    const char* line;
  };
  constexpr Case kCases[] = {
      {44100, 2, 64000, "Sample rate is not supported [8KHz, 12KHz, 16KHz, 24KHz, 48KHz]: 44100"},
      {1, 2, 64000, "Sample rate is not supported [8KHz, 12KHz, 16KHz, 24KHz, 48KHz]: 1"},
      {4000000000u, 2, 64000, "Sample rate is not supported [8KHz, 12KHz, 16KHz, 24KHz, 48KHz]: 4000000000"},
      {48000, 6, 64000, "Encoder create failed: err:-1"},
      {48000, 0, 64000, "Encoder create failed: err:-1"},
      {48000, 2, 0, "Encoder ctl failed: err:-1"},
  };
  for (const Case& c : kCases) {
    setUp(c.sampleRate, c.channels, c.bitrate);
    EXPECT_EQ(encoder->initialize(), 0u);
    EXPECT_THAT(linesOf(log), ElementsAre(std::string("AudioEncoderOpus.initialize[{context}]: ") + c.line));
    EXPECT_THAT(headersOf(*encoder), IsEmpty());
    std::vector<AudioFrameEncoded> frames;
    EXPECT_EQ(encoder->addSampleBuffer(makeBlock(makeSweep(48000, 2, 960), 0, 960, 0), frames), 0u);
    EXPECT_THAT(frames, IsEmpty());
  }
}

}  // namespace
}  // namespace qvs
