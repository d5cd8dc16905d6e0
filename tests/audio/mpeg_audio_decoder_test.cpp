// AAC and MPEG audio of our own making, good and bad, packet by packet.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "audio/AACUtils.h"
#include "audio/AudioDecoderAAC.h"
#include "audio/AudioDecoderMP2.h"
#include "support/CodedAudio.h"
#include "support/GuardedBytes.h"
#include "support/MpegAudio.h"

namespace qvs::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr uint32_t kFail = 0xFFFFFFFF;
using Bytes = std::vector<uint8_t>;

Bytes headerOf(uint32_t objectType, uint32_t rateIndex, uint32_t channels, uint32_t absent, uint32_t length) {
  Bytes bytes(9, 0x55);
  AACUtils::encodeDTSHeader(bytes.data(), 1, objectType, rateIndex, channels, absent, length);
  EXPECT_EQ(bytes[0], 0x55);
  EXPECT_EQ(bytes[8], 0x55);
  return {bytes.begin() + 1, bytes.end() - 1};
}

TEST(AACUtils, WritesHeadersToTheBit) {
  EXPECT_THAT(headerOf(2, 4, 2, 1, 371), ElementsAre(0xFF, 0xF1, 0x50, 0x80, 0x2E, 0x7F, 0xFC));
  EXPECT_THAT(headerOf(2, 3, 1, 0, 8191), ElementsAre(0xFF, 0xF0, 0x4C, 0x43, 0xFF, 0xFF, 0xFC));
  EXPECT_THAT(headerOf(1, 12, 7, 1, 7), ElementsAre(0xFF, 0xF1, 0x31, 0xC0, 0x00, 0xFF, 0xFC));
  EXPECT_THAT(headerOf(4, 15, 6, 1, 2048), ElementsAre(0xFF, 0xF1, 0xFD, 0x81, 0x00, 0x1F, 0xFC));
  EXPECT_THAT(headerOf(5, 16, 8, 1, 8192 + 7), ElementsAre(0xFF, 0xF1, 0x00, 0x00, 0x00, 0xFF, 0xFC))
      << "values keep the bits that their field has";
}

TEST(AACUtils, ReadsEveryConfigurationAndNotPastTheBytes) {
  GuardedBytes bytes(2);
  uint32_t objectType = 99, rate = 99, channels = 99;
  for (uint32_t len : {0u, 1u}) {
    EXPECT_FALSE(AACUtils::decodeCodecConfig(bytes.data() + 2 - len, 0, len, objectType, rate, channels));
    EXPECT_FALSE(AACUtils::decodeCodecConfig(nullptr, 0, len, objectType, rate, channels));
  }
  EXPECT_EQ(objectType + rate + channels, 3 * 99u);
  for (uint32_t value = 0; value < 0x10000; ++value) {
    bytes.data()[0] = static_cast<uint8_t>(value >> 8);
    bytes.data()[1] = static_cast<uint8_t>(value);
    ASSERT_TRUE(AACUtils::decodeCodecConfig(bytes.data(), 0, 2, objectType, rate, channels));
    ASSERT_EQ(objectType << 11 | rate << 7 | channels << 3 | (value & 7), value);
  }
  EXPECT_EQ(AACUtils::sampleRateOf(12), 7350u);
  EXPECT_EQ(AACUtils::sampleRateOf(13), 0u);
  EXPECT_EQ(AACUtils::channelsOf(7), 8u);
  EXPECT_EQ(AACUtils::channelsOf(15), 2u);
  EXPECT_EQ(AACUtils::encoderBitrateToIndex(0), 0u);
  EXPECT_EQ(AACUtils::encoderBitrateToIndex(127), 18u);
  EXPECT_EQ(AACUtils::encoderBitrateToIndex(128), 19u);
  EXPECT_EQ(AACUtils::encoderBitrateToIndex(~0u), 28u);
}

class MpegAudio : public testing::Test {
 protected:
  static const AudioFile& aac() {
    static const AudioFile file = makeMpegAudio("aac", 44100, 2, 44100);
    return file;
  }
  static const AudioFile& mp2() {
    static const AudioFile file = makeMpegAudio("mp2", 48000, 2, 24000);
    return file;
  }
  static const AudioFile& mp3() {
    static const AudioFile file = makeMpegAudio("libmp3lame", 44100, 1, 22050);
    return file;
  }
};

TEST_F(MpegAudio, AConfigurationThatNoHeaderCanNameIsRefusedWithALine) {
  MpegAudioRun run(aac());
  IAudioDecoder& decoder = run.decoder();
  Bytes packet(7);
  packet.insert(packet.end(), aac().packets[3].bytes.begin(), aac().packets[3].bytes.end());
  std::string line;
  const auto configure = [&](uint32_t value) {
    Bytes config{static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
    run.log();
    EXPECT_EQ(decoder.decodeCodecConfig(config.data(), 0, 2), 0u);
    line = run.log();
    return decoder.decodeFirstFrame(packet.data(), 0, static_cast<uint32_t>(packet.size()));
  };
  for (uint32_t value = 0; value < 0x10000; ++value) {
    const uint32_t type = value >> 11, rate = value >> 7 & 15, channels = value >> 3 & 15;
    const bool he = type == 5 || type == 29;
    const bool served = ((type >= 1 && type <= 4 && (value & 4) == 0) || he) && rate < 13 && channels < 8;
    ASSERT_EQ(configure(value), served ? 0 : kFail) << value;
    ASSERT_EQ(line.empty(), served) << value;
    ASSERT_EQ(decoder.getSampleRate(), rate < 13 ? static_cast<int32_t>(AACUtils::AAC_SAMPLERATES[rate]) : 0);
    ASSERT_EQ(decoder.getChannels(), channels > 7 ? 2 : AACUtils::AAC_CHANNELS[channels]);
  }
  run.log();
  EXPECT_EQ(configure(0xF890), kFail);
  EXPECT_EQ(line,
            "AudioDecoderAAC.decodeCodecConfig[{context}]: Configuration is not supported: objectType:31 "
            "rateIndex:1 channelConfig:2\n");
  EXPECT_EQ(run.log(), "AudioDecoderAAC.decodeFirstFrame[{context}]: Decode failed\n");
  EXPECT_EQ(configure(0x1210), 0u) << "a good one serves again";
}

TEST_F(MpegAudio, ShortConfigurationsChangeNothing) {
  MpegAudioRun run(aac());
  GuardedBytes bytes(1);
  bytes.data()[0] = 0xFF;
  EXPECT_EQ(run.decoder().decodeCodecConfig(bytes.data() + 1, 0, 0), kFail);
  EXPECT_EQ(run.decoder().decodeCodecConfig(bytes.data(), 0, 1), kFail);
  EXPECT_EQ(run.decoder().decodeCodecConfig(nullptr, 0, 2), kFail);
  EXPECT_THAT(run.log(), HasSubstr("Not enough data to decode"));
  EXPECT_EQ(run.decoder().getSampleRate(), 44100);
  run.feedAll(aac());
  EXPECT_EQ(run.samples, decodeAudio(aac()));
}

/// 20000 samples of one channel.
std::vector<int16_t> channelOf(std::span<const int16_t> audio, size_t channels, size_t channel, size_t from) {
  std::vector<int16_t> samples;
  for (size_t i = from; i < from + 20000 && i * channels < audio.size(); ++i) {
    samples.push_back(audio[i * channels + channel]);
  }
  return samples;
}

TEST_F(MpegAudio, EveryNumberOfChannelsComesOutAsItWentIn) {
  for (uint32_t channels : {1u, 2u, 6u, 8u}) {
    const AudioFile file = makeMpegAudio("aac", 48000, channels, 24000);
    MpegAudioRun run(file);
    ASSERT_TRUE(run.opened) << channels;
    run.feedAll(file);
    EXPECT_EQ(run.block().getChannels(), channels);
    EXPECT_EQ(run.block().getSampleRate(), 48000u);
    EXPECT_EQ(run.samples.size(), file.packets.size() * 1024 * channels);
    EXPECT_EQ(run.decoder().getDecodedSampleSize(), 1024 * channels * 2);
    EXPECT_EQ(run.decoder().getFramesDecoded(), file.packets.size());
    // Against what was coded, behind the encoder's 1024 samples of lead-in.
    const auto audio = makeSamples(48000, channels, 24000);
    constexpr size_t kLowFrequencies = 3;
    for (size_t channel = 0; channel < channels; ++channel) {
      if (channels >= 6 && channel == kLowFrequencies) continue;
      EXPECT_GT(
          snrDb(channelOf(audio, channels, channel, 0), channelOf(run.samples, channels, channel, 1024)), 10)
          << channel << " of " << channels;
    }
  }
}

TEST_F(MpegAudio, ALayoutInTheConfigurationIsUsed) {
  const AudioFile file = makeMpegAudio("aac", 48000, 7, 24000);
  ASSERT_GT(file.config.size(), 5u);
  ASSERT_EQ(file.config[1] >> 3 & 15, 0) << "no channel configuration";
  MpegAudioRun run(file);
  ASSERT_TRUE(run.opened);
  EXPECT_EQ(run.decoder().getChannels(), 0u);
  run.feedAll(file);
  EXPECT_EQ(run.block().getChannels(), 7u);
  EXPECT_EQ(run.samples.size(), file.packets.size() * 1024 * 7);
  const auto audio = makeSamples(48000, 7, 24000);
  for (const size_t channel : {0u, 1u, 2u}) {
    EXPECT_GT(snrDb(channelOf(audio, 7, channel, 0), channelOf(run.samples, 7, channel, 1024)), 10)
        << channel;
  }
  for (size_t len = 2; len < file.config.size(); ++len) {
    Bytes cut(file.config.begin(), file.config.begin() + static_cast<std::ptrdiff_t>(len));
    EXPECT_EQ(run.decoder().decodeCodecConfig(cut.data(), 0, static_cast<uint32_t>(len)), 0u);
    run.feed(file.packets[3].bytes, 0);
  }
}

TEST_F(MpegAudio, AKeyForTwoChannelsLeavesMoreOfThemAlone) {
  const AudioFile file = makeMpegAudio("aac", 48000, 6, 12000);
  MpegAudioRun run(file, 2);
  EXPECT_EQ(run.decoder().getChannels(), 2u);
  run.feedAll(file);
  EXPECT_EQ(run.block().getChannels(), 6u);
  EXPECT_EQ(run.samples, decodeAudio(file));
}

TEST_F(MpegAudio, ABlockGrowsWhereTheAudioNeedsMore) {
  for (const AudioFile* file : {&aac(), &mp2(), &mp3()}) {
    for (int64_t scale : {0, 2}) {
      MpegAudioRun reference(*file, scale), run(*file, scale);
      reference.feedAll(*file);
      run.block().allocBuffer(3, 1, 8000);
      run.feedAll(*file);
      EXPECT_EQ(run.samples, reference.samples);
      AudioSampleBuffer none;
      Bytes packet(run.decoder().getDecodeFrameHeaderSize());
      packet.insert(packet.end(), file->packets[0].bytes.begin(), file->packets[0].bytes.end());
      EXPECT_EQ(run.decoder().decodeFrame(packet.data(), 0, static_cast<uint32_t>(packet.size()), 0, none),
                0u);
      EXPECT_GE(none.getLen(), 2 * none.getSampleCount() * none.getChannels());
      EXPECT_GT(none.getSampleCount(), 0u);
    }
  }
}

TEST_F(MpegAudio, NothingIsWrittenOrReadOutsideAPacket) {
  MpegAudioRun aacRun(aac()), mp3Run(mp3());
  for (size_t len = 0; len < 64; ++len) {
    GuardedBytes bytes(len);
    std::fill_n(bytes.data(), len, uint8_t{0});
    const auto count = static_cast<uint32_t>(len);
    for (IAudioDecoder* decoder : {&aacRun.decoder(), &mp3Run.decoder()}) {
      AudioSampleBuffer out;
      out.allocBuffer(2048, 2, 44100);
      out.setTimecode(5);
      const uint32_t result = decoder->decodeFrame(bytes.data(), 0, count, 0, out);
      // In MPEG audio a few bytes may be a frame's begin.
      if (decoder == &aacRun.decoder() || len >= 10) {
        EXPECT_EQ(result, kFail) << len;
      }
      EXPECT_EQ(out.getSampleCount(), 0u);
      EXPECT_EQ(out.getTimecode(), 0u);
      decoder->decodeFirstFrame(bytes.data(), 0, count);
      EXPECT_TRUE(bytes.slackIntact());
    }
  }
  AudioSampleBuffer out;
  EXPECT_EQ(aacRun.decoder().decodeFrame(nullptr, 0, 100, 0, out), kFail);
  EXPECT_EQ(mp3Run.decoder().decodeFrame(nullptr, 0, 100, 0, out), kFail);
  mp3Run.log();
  EXPECT_EQ(mp3Run.decoder().decodeFirstFrame(nullptr, 0, 3), kFail);
  EXPECT_EQ(mp3Run.log(), "AudioDecoderMP2.decodeFirstFrame[{context}]: Not enough data to decode\n");
}

TEST_F(MpegAudio, WithoutALibraryNothingIsDecoded) {
  AudioSampleBuffer out;
  uint8_t bytes[64] = {};
  AudioDecoderAAC aacDecoder;
  AudioDecoderMP2 mp2Decoder;
  LogCollector collector;
  for (IAudioDecoder* decoder :
       {static_cast<IAudioDecoder*>(&aacDecoder), static_cast<IAudioDecoder*>(&mp2Decoder)}) {
    decoder->setLogger(&collector);
    EXPECT_EQ(decoder->decodeFirstFrame(bytes, 0, 64), kFail);
    EXPECT_EQ(decoder->decodeFrame(bytes, 0, 64, 0, out), kFail);
    EXPECT_EQ(decoder->close(), 0u);
    EXPECT_EQ(decoder->close(), 0u);
    EXPECT_FALSE(decoder->isFirstFrameDecoded());
  }
}

TEST_F(MpegAudio, ASecondSetUpStartsAnew) {
  for (const AudioFile* file : {&aac(), &mp2(), &mp3()}) {
    MpegAudioRun run(*file);
    run.feed(file->packets[5].bytes, 500);
    ASSERT_EQ(run.decoder().initialize(), 0u);
    run.samples.clear();
    run.feedAll(*file);
    EXPECT_EQ(run.samples, decodeAudio(*file));
  }
}

/// `expected` from packet `from` on, where each packet gives `samples`.
void expectTail(const AudioFile& file, const MpegAudioRun& run, const std::vector<int16_t>& expected,
                size_t values) {
  ASSERT_GE(run.samples.size(), values);
  ASSERT_GE(expected.size(), values);
  EXPECT_GE(snrDb(std::span(expected).last(values), std::span(run.samples).last(values)), 60) << file.codec;
}

TEST_F(MpegAudio, DamageEndsWithItsPacket) {
  for (const AudioFile* file : {&aac(), &mp2(), &mp3()}) {
    const auto expected = decodeAudio(*file);
    const size_t perPacket = expected.size() / file->packets.size();
    constexpr size_t kHurt = 6;
    for (int kind = 0; kind < 4; ++kind) {
      Bytes hurt = file->packets[kHurt].bytes;
      if (kind == 0) hurt.clear();
      if (kind == 1) hurt.resize(hurt.size() / 2);
      if (kind == 2) std::fill(hurt.begin(), hurt.end(), uint8_t{0xFF});
      if (kind == 3) std::fill(hurt.begin(), hurt.end(), uint8_t{0x00});
      MpegAudioRun run(*file);
      for (size_t i = 0; i < file->packets.size(); ++i) {
        const auto clock = static_cast<uint64_t>(std::llround(file->packets[i].timecodeMs));
        const uint32_t result = run.feed(i == kHurt ? hurt : file->packets[i].bytes, 1000 + clock);
        if (i == kHurt && kind == 0) {
          EXPECT_EQ(result, kFail) << file->codec;
        }
        if (i != kHurt) {
          EXPECT_EQ(result, 0u) << file->codec << " kind " << kind << " packet " << i;
        }
      }
      // Overlap and bit reservoir reach over a few frames.
      expectTail(*file, run, expected, perPacket * (file->packets.size() - kHurt - 6));
      // Behind the gap the count is the millisecond clock's.
      const double last =
          static_cast<double>(run.codes.front() + (file->packets.size() - 1) * perPacket / file->channels);
      EXPECT_NEAR(static_cast<double>(run.codes.back()), last, file->sampleRate / 1000.0)
          << file->codec << " kind " << kind;
    }
  }
}

TEST_F(MpegAudio, AnUnknownTimeLosesNothing) {
  MpegAudioRun run(aac());
  run.feed(aac().packets[0].bytes, ~uint64_t{0});
  run.feed(aac().packets[1].bytes, 1000);
  run.decoder().resetDecodedFrameState();
  run.feed(aac().packets[2].bytes, ~uint64_t{0});
  EXPECT_EQ(run.codes, (std::vector<uint64_t>{0, 44100, 44100 + 1024}));
  EXPECT_EQ(run.counts, (std::vector<uint32_t>{1024, 1024, 1024}));
}

TEST_F(MpegAudio, ANewFormatTakesTheClockAnew) {
  const AudioFile other = makeMpegAudio("aac", 48000, 1, 12000);
  MpegAudioRun run(aac());
  run.feed(aac().packets[0].bytes, 1000);
  run.feed(aac().packets[1].bytes, 1023);
  EXPECT_EQ(run.codes.back(), 44100u + 1024);
  Bytes config = other.config;
  run.decoder().decodeCodecConfig(config.data(), 0, static_cast<uint32_t>(config.size()));
  run.feed(other.packets[0].bytes, 1046);
  EXPECT_EQ(run.block().getSampleRate(), 48000u);
  EXPECT_EQ(run.block().getChannels(), 1u);
  EXPECT_EQ(run.codes.back(), 48u * 1046);
  run.feed(other.packets[1].bytes, 1067);
  EXPECT_EQ(run.codes.back(), 48u * 1046 + 1024);

  const AudioFile mono = makeMpegAudio("mp2", 44100, 1, 12000);
  MpegAudioRun layers(mp2());
  layers.feed(mp2().packets[0].bytes, 0);
  layers.feed(mono.packets[0].bytes, 24);
  EXPECT_EQ(layers.block().getSampleRate(), 44100u);
  EXPECT_EQ(layers.block().getChannels(), 1u);
  layers.feed(mp3().packets[0].bytes, 50);
  EXPECT_EQ(layers.results, (std::vector<uint32_t>{0, 0, 0})) << "layers may change too";
  EXPECT_EQ(layers.counts, (std::vector<uint32_t>{1152, 1152, 1152}));
}

TEST_F(MpegAudio, ResetForgetsTheLastBlockAlone) {
  MpegAudioRun run(mp3());
  run.feed(mp3().packets[0].bytes, 0);
  run.decoder().resetDecodedFrameState();
  EXPECT_EQ(run.decoder().getDecodedSampleRate(), 0u);
  EXPECT_TRUE(run.decoder().isFirstFrameDecoded());
  run.feed(mp3().packets[1].bytes, 26);
  EXPECT_EQ(run.codes.back(), 1152u);
  EXPECT_EQ(run.decoder().getDecodedSampleRate(), 44100u);
}

// ---- MPEG audio: how packets hold frames

TEST_F(MpegAudio, PacketsMayHoldSeveralFramesOrParts) {
  for (const AudioFile* file : {&mp2(), &mp3()}) {
    const auto expected = decodeAudio(*file);
    const Bytes all = joinPackets(*file);
    for (size_t step : {size_t{1}, size_t{100}, size_t{419}, size_t{3000}, all.size()}) {
      MpegAudioRun run(*file);
      for (size_t at = 0; at < all.size(); at += step) {
        ASSERT_EQ(run.feed(std::span(all).subspan(at, std::min(step, all.size() - at)), 0), 0u);
      }
      EXPECT_EQ(run.samples, expected) << file->codec << " in steps of " << step;
    }
  }
}

TEST_F(MpegAudio, TagsAndJunkAreSkipped) {
  const auto expected = decodeAudio(mp3());
  Bytes tag{'I', 'D', '3', 4, 0, 0, 0, 0, 2, 16};
  for (int i = 0; i < 2 * 128 + 16; ++i) tag.push_back(i % 3 == 0 ? 0xFF : 0xFB);  // looks like frames
  Bytes contents = mp3().packets[0].bytes;
  std::fill(contents.begin() + 4, contents.end(), uint8_t{0});
  const size_t word = 4 + 17;
  std::copy_n("Xing", 4, contents.begin() + word);
  Bytes last{'T', 'A', 'G'};
  last.resize(128, 0xFF);
  Bytes all = tag;
  all.insert(all.end(), contents.begin(), contents.end());
  const Bytes frames = joinPackets(mp3());
  all.insert(all.end(), frames.begin(), frames.end());
  all.insert(all.end(), last.begin(), last.end());
  for (size_t step : {size_t{7}, size_t{50}, all.size()}) {
    MpegAudioRun run(mp3());
    for (size_t at = 0; at < all.size(); at += step) {
      EXPECT_EQ(run.feed(std::span(all).subspan(at, std::min(step, all.size() - at)), 0), 0u);
    }
    EXPECT_EQ(run.samples, expected) << step;
    run.log();
    EXPECT_EQ(run.decoder().decodeFirstFrame(all.data(), 0, static_cast<uint32_t>(all.size())), 0u);
    EXPECT_THAT(run.log(), HasSubstr("decodeFirstFrame[{context}]: sampleRate:44100 channels:1 bitRate:96000 "
                                     "version:1 layer:3"));
  }
  MpegAudioRun run(mp3());
  Bytes joined(300, 0x5A);
  joined.insert(joined.end(), frames.begin(), frames.end());
  run.feed(joined, 0);
  EXPECT_EQ(run.samples, expected) << "joined in mid-stream";
  EXPECT_EQ(run.feed(Bytes(5000, 0x5A), 0), kFail);
  EXPECT_THAT(run.log(), HasSubstr("AudioDecoderMP2.decodeFrame[{context}]: Decode failed"));
}

TEST_F(MpegAudio, ATagWithAWrongLengthSilencesAFewFrames) {
  const auto expected = decodeAudio(mp3());
  const size_t perFrame = expected.size() / mp3().packets.size();
  const Bytes damage{'I', 'D', '3', 4, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F};
  const Bytes frames = joinPackets(mp3());
  Bytes all = frames;
  size_t fifth = 0;
  for (size_t i = 0; i < 5; ++i) fifth += mp3().packets[i].bytes.size();
  std::ranges::copy(damage, all.begin() + static_cast<std::ptrdiff_t>(fifth));
  testing::internal::CaptureStdout();
  for (size_t step : {size_t{1}, size_t{7}, size_t{419}, all.size()}) {
    MpegAudioRun run(mp3());
    for (size_t at = 0; at < all.size(); at += step) {
      run.feed(std::span(all).subspan(at, std::min(step, all.size() - at)), 0);
    }
    EXPECT_GE(run.samples.size(), expected.size() - 4 * perFrame) << step;
    const size_t tail = expected.size() - 12 * perFrame;
    EXPECT_GE(snrDb(std::span(expected).last(tail), std::span(run.samples).last(tail)), 60) << step;
  }
  Bytes front = damage;
  front.insert(front.end(), all.begin(), all.end());
  MpegAudioRun run(mp3());
  EXPECT_EQ(run.decoder().decodeFirstFrame(front.data(), 0, static_cast<uint32_t>(front.size())), 0u);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              HasSubstr("MPEG audio decoder: a tag's length was wrong, frames lay in it\n"));

  // A true tag is skipped to its end, whatever picture it holds.
  Bytes tagged{'I', 'D', '3', 4, 0, 0, 0, 0x40, 0, 0};
  std::mt19937 random(9);
  for (int i = 0; i < 0x40 << 14; ++i)
    tagged.push_back(static_cast<uint8_t>(random() % 4 == 0 ? 0xFF : random()));
  tagged.insert(tagged.end(), frames.begin(), frames.end());
  MpegAudioRun whole(mp3());
  for (size_t at = 0; at < tagged.size(); at += 5000) {
    EXPECT_EQ(whole.feed(std::span(tagged).subspan(at, std::min<size_t>(5000, tagged.size() - at)), 0), 0u);
  }
  EXPECT_EQ(whole.samples, expected);
}

TEST_F(MpegAudio, FreeFormatAndBadHeadersAreRefusedClearly) {
  MpegAudioRun run(mp2());
  Bytes frame = mp2().packets[0].bytes;
  frame[2] &= 0x0F;
  run.log();
  testing::internal::CaptureStdout();
  EXPECT_EQ(run.decoder().decodeFirstFrame(frame.data(), 0, static_cast<uint32_t>(frame.size())), kFail);
  EXPECT_EQ(run.feed(frame, 0), kFail);
  EXPECT_EQ(run.feed(frame, 24), kFail);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "MPEG audio decoder: free format is not supported\n");
  EXPECT_EQ(run.log(),
            "AudioDecoderMP2.decodeFirstFrame[{context}]: Decode failed\n"
            "AudioDecoderMP2.decodeFrame[{context}]: Decode failed\n"
            "AudioDecoderMP2.decodeFrame[{context}]: Decode failed\n");
  frame[1] = static_cast<uint8_t>((frame[1] & ~0x18) | 0x08);
  EXPECT_EQ(run.decoder().decodeFirstFrame(frame.data(), 0, 4), kFail);
  EXPECT_THAT(run.log(), HasSubstr("decodeFirstFrame[{context}]: Bad MP2 Audio version: "));
  EXPECT_EQ(run.feed(mp2().packets[0].bytes, 48), 0u);
}

/// A bit stream written from the highest bit on.
struct BitWriter {
  void put(uint32_t value, int bits) {
    for (int bit = bits; bit-- > 0; ++count) {
      if (count % 8 == 0) bytes.push_back(0);
      bytes.back() = static_cast<uint8_t>(bytes.back() | (value >> bit & 1) << (7 - count % 8));
    }
  }
  Bytes bytes;
  int count = 0;
};

TEST_F(MpegAudio, LayerOneIsServed) {
  // Mono, 48000 Hz, 128 kbit/s: a steady value in the lowest subband, nothing above.
  BitWriter frame;
  frame.put(0xFFFF44C0, 32);
  for (int band = 0; band < 32; ++band) frame.put(band == 0 ? 7 : 0, 4);
  frame.put(6, 6);
  for (int i = 0; i < 12; ++i) frame.put(0xC0, 8);
  frame.bytes.resize(12 * 128000 / 48000 * 4);
  AudioFile file;
  file.codec = "mp1";
  file.packets.assign(4, {frame.bytes, 0});
  MpegAudioRun run(file);
  ASSERT_TRUE(run.opened);
  EXPECT_THAT(run.log(), HasSubstr("sampleRate:48000 channels:1 bitRate:128000 version:1 layer:1"));
  run.feedAll(file);
  EXPECT_EQ(run.counts, (std::vector<uint32_t>{384, 384, 384, 384}));
  double power = 0;
  for (size_t i = 768; i < run.samples.size(); ++i) power += run.samples[i] * double{1} * run.samples[i];
  EXPECT_GT(std::sqrt(power / 768), 1000);
}

TEST_F(MpegAudio, SharedTimecodesAndCarriedFramesKeepTheCount) {
  MpegAudioRun run(mp2());  // 24 ms a frame
  for (size_t i = 0; i < 4; ++i) run.feed(mp2().packets[i].bytes, 1000);
  EXPECT_EQ(run.codes, (std::vector<uint64_t>{48000, 49152, 50304, 51456}));

  // Packets of one and a half frames, each with the time of the first frame that begins in it.
  MpegAudioRun halves(mp2());
  const Bytes all = joinPackets(mp2());
  const size_t frame = mp2().packets[0].bytes.size();
  halves.feed(std::span(all).first(frame * 3 / 2), 1000);
  halves.feed(std::span(all).subspan(frame * 3 / 2, frame * 3 / 2), 1048);
  EXPECT_EQ(halves.codes, (std::vector<uint64_t>{48000, 49152}));
  EXPECT_EQ(halves.counts, (std::vector<uint32_t>{1152, 2304}));
  halves.feed(std::span(all).subspan(frame * 3, frame), 5000);
  EXPECT_EQ(halves.codes.back(), 240000u) << "a gap is a gap";
}

}  // namespace
}  // namespace qvs::test
