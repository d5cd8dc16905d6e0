// Once the first blocks have passed, nothing on a block's way allocates but the coded packets.

#include <gtest/gtest.h>

#include <array>

#include "audio/AudioEncoderBufferStream.h"
#include "audio/AudioEncoderOpus.h"
#include "AudioBlocks.h"
#include "SampleBlocks.h"
#include "support/AllocationCounter.h"
#include "support/AudioDecoderRun.h"
#include "support/CodedAudio.h"

namespace qvs::test {
namespace {

constexpr size_t kBlock = 1000;  ///< of no codec's frame size
constexpr size_t kBlocks = 60;

template <typename Action>
uint64_t allocationsOf(Action action) {
  const uint64_t before = allocationsSoFar();
  action();
  return allocationsSoFar() - before;
}

TEST(AudioSteadyState, DecodingAllocatesNothing) {
  for (const char* codec : {"opus", "speex", "vorbis", "pcm_alaw", "pcm_s16le"}) {
    AudioFile file = makeCodedAudio(codec);
    file.codec = codec;
    if (file.codec == "pcm_alaw") file.config.clear();
    AudioDecoderRun run(makeAudioDecoder(codec));
    ASSERT_TRUE(run.open(file));
    AudioSampleBuffer small;
    ASSERT_EQ(small.allocBuffer(320, file.channels, file.sampleRate), 0u);
    const auto pass = [&] {
      for (auto& packet : file.packets) {
        run.decoder().decodeFrame(packet.bytes.data(), 0, static_cast<uint32_t>(packet.bytes.size()),
                                  static_cast<uint64_t>(packet.timecodeMs), small);
      }
    };
    EXPECT_LT(allocationsOf(pass), file.packets.size()) << codec << ", growth";
    EXPECT_EQ(allocationsOf(pass), 0u) << codec;
  }
}

TEST(AudioSteadyState, ResamplingAllocatesOnlyForTheFirstBlockOfASize) {
  for (const auto& [rate, channels] : {std::pair{48000u, 2u}, {44100u, 2u}, {8000u, 1u}, {192000u, 2u}}) {
    AudioResampler resampler;
    setTarget(resampler, rate, channels);
    AudioSampleBuffer in, out;
    const std::vector<int16_t> samples(2048, 1000);
    uint64_t block = 0;
    const auto blocks = [&] {
      for (const uint64_t end = block + 200; block < end; ++block) {
        fillBlock(in, samples.data(), 1024, 2, 44100, block * 1024);
        resampler.resample(in, out);
      }
    };
    EXPECT_GT(allocationsOf(blocks), 0u) << "nothing is counted";
    EXPECT_EQ(allocationsOf(blocks), 0u) << rate;
  }
}

TEST(AudioSteadyState, EncodingAllocatesOnlyThePackets) {
  AudioEncoderOpus encoder;
  encoder.setSampleRate(48000);
  encoder.setChannels(2);
  encoder.setBitrate(96000);
  encoder.initialize();
  const AudioClip audio = makeSweep(48000, 2, 2 * kBlocks * kBlock);
  encodeAll(encoder, makeSweep(48000, 2, 10 * kBlock), {kBlock});
  std::array<AudioSampleBuffer*, kBlocks> blocks;
  for (size_t i = 0; i < kBlocks; ++i) blocks[i] = makeBlock(audio, i * kBlock, kBlock, i * kBlock);
  std::vector<AudioFrameEncoded> packets;
  packets.reserve(2 * kBlocks);
  const uint64_t made = allocationsOf([&] {
    for (AudioSampleBuffer* block : blocks) encoder.addSampleBuffer(block, packets);
  });
  EXPECT_EQ(made, packets.size());
  EXPECT_GT(packets.size(), kBlocks);
  takeUnits(packets);
}

TEST(AudioSteadyState, TheBufferStreamAllocatesOnlyTheFrames) {
  AudioEncoderBufferStream sink;
  bufstream_tt* stream = sink.getStream();
  std::array<uint8_t, 300> bytes{};
  std::vector<AudioFrameEncoded> frames;
  frames.reserve(4 * kBlocks);
  const auto code = [&](size_t count) {
    for (size_t i = 0; i < count; ++i) {
      sink.addTimecode(i);
      stream->copybytes(stream, bytes.data(), bytes.size());
      stream->auxinfo(stream, 0, AUDIO_AU_CODE, nullptr, 0);
      if (i % 3 == 0) sink.getEncodedFrames(frames);
    }
    sink.getEncodedFrames(frames);
  };
  code(10);
  EXPECT_EQ(allocationsOf([&] { code(kBlocks); }), kBlocks);
  takeUnits(frames);
}

}  // namespace
}  // namespace qvs::test
