// Decoding costs no allocation after the first blocks; the C allocator is replaced so that libraries count
// too.

#include <gtest/gtest.h>

#include "frames/AllocationCounter.h"
#include "support/AudioDecoderRun.h"
#include "support/CodedAudio.h"

namespace qvs::test {
namespace {

uint64_t allocationsOfAPass(IAudioDecoder& decoder, AudioFile& file, AudioSampleBuffer& block) {
  const uint64_t before = allocationsSoFar();
  for (auto& packet : file.packets) {
    decoder.decodeFrame(packet.bytes.data(), 0, static_cast<uint32_t>(packet.bytes.size()),
                        static_cast<uint64_t>(packet.timecodeMs), block);
  }
  return allocationsSoFar() - before;
}

TEST(DecoderAllocations, NonePerBlock) {
  for (const char* codec : {"opus", "speex", "vorbis", "pcm_alaw"}) {
    AudioFile file = makeCodedAudio(codec);
    file.codec = codec;
    if (file.codec == "pcm_alaw") file.config.clear();
    AudioDecoderRun run(makeAudioDecoder(codec));
    ASSERT_TRUE(run.open(file));
    AudioSampleBuffer small;
    ASSERT_EQ(small.allocBuffer(320, file.channels, file.sampleRate), 0u);
    EXPECT_LT(allocationsOfAPass(run.decoder(), file, small), file.packets.size()) << codec << ", growth";
    EXPECT_EQ(allocationsOfAPass(run.decoder(), file, small), 0u) << codec;
  }
}

}  // namespace
}  // namespace qvs::test
