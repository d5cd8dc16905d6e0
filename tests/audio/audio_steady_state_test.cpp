// Once the first blocks have passed, nothing on a block's way allocates but the coded packets.

#include <gtest/gtest.h>

#include <array>

#include "../frames/AllocationCounter.h"
#include "audio/AudioEncoderBufferStream.h"
#include "audio/AudioEncoderOpus.h"
#include "AudioBlocks.h"

namespace qvs::test {
namespace {

constexpr size_t kBlock = 1000;  ///< of no codec's frame size
constexpr size_t kBlocks = 60;

TEST(AudioSteadyState, EncodingAllocatesOnlyThePackets) {
  AudioEncoderOpus encoder;
  encoder.setSampleRate(48000);
  encoder.setChannels(2);
  encoder.setBitrate(96000);
  encoder.initialize();
  const AudioClip clip = makeSweep(48000, 2, 2 * kBlocks * kBlock);
  encodeAll(encoder, makeSweep(48000, 2, 10 * kBlock), {kBlock});
  std::array<AudioSampleBuffer*, kBlocks> blocks;
  for (size_t i = 0; i < kBlocks; ++i) blocks[i] = makeBlock(clip, i * kBlock, kBlock, i * kBlock);
  std::vector<AudioFrameEncoded> packets;
  packets.reserve(2 * kBlocks);
  const uint64_t before = allocationsSoFar();
  for (AudioSampleBuffer* block : blocks) encoder.addSampleBuffer(block, packets);
  EXPECT_EQ(allocationsSoFar() - before, packets.size());
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
  const uint64_t before = allocationsSoFar();
  code(kBlocks);
  EXPECT_EQ(allocationsSoFar() - before, kBlocks);
  takeUnits(frames);
}

}  // namespace
}  // namespace qvs::test
