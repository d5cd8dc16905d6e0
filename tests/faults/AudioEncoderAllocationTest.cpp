#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "contract/StageIds.h"
#include "frames/AudioSampleBuffer.h"
#include "session/TranscoderSession.h"
#include "support/FailingAllocator.h"

namespace qvs::test {
namespace {

constexpr uint32_t kRate = 48000;
constexpr uint32_t kChannels = 2;
constexpr uint32_t kBlockSamples = 1000;
constexpr uint32_t kBlocks = 6;

/// Bytes that came out of an encoder of a session, from the session's making to its end.
uint64_t encode(uint32_t codec) {
  uint64_t bytes = 0;
  try {
    TranscoderSession session;
    int32_t index = -1;
    if (session.audioEncoderAdd(codec, 0, &index) != kSuccess) return 0;
    session.audioEncoderSetSampleRate(0, kRate);
    session.audioEncoderSetChannels(0, kChannels);
    session.audioEncoderSetBitrate(0, 128000);
    session.audioEncoderInitialize(0);
    session.audioDecoderBuffersCreate(1);
    session.audioDecoderBuffersAllocate(kBlockSamples, kChannels, kRate);
    for (uint32_t block = 0; block < kBlocks; ++block) {
      if (session.audioEncoderEncodeBufferStart(0, 0) != kSuccess) continue;
      std::vector<AudioFrameEncoded> frames;
      session.audioEncoderAddSampleBuffer(0, 0, frames);
      for (const AudioFrameEncoded& frame : frames) {
        bytes += frame.getLen();
        std::free(frame.getBuffer());
      }
      session.audioEncoderEncodeBufferDone(0, 0);
    }
  } catch (const std::bad_alloc&) {
    // Only the constructor may let it through: there is no object yet to answer.
  }
  return bytes;
}

class AudioEncoderAllocation : public testing::TestWithParam<uint32_t> {};

TEST_P(AudioEncoderAllocation, EveryFailureIsSurvivedAndLeaksNothing) {
  const uint64_t good = encode(GetParam());  // what loads once is there before anything is counted
  ASSERT_GT(good, 0u);
  for (const FailureMode mode : {FailureMode::Once, FailureMode::FromThen}) {
    for (uint64_t number = 1;; ++number) {
      armAllocator(number, mode);
      encode(GetParam());
      const AllocatorReport report = disarmAllocator();
      ASSERT_EQ(report.liveBlocks, 0) << "allocation " << number;
      if (!report.failed) break;
    }
  }
  EXPECT_EQ(encode(GetParam()), good);
}

#ifdef QVS_WRAPPED_ALLOCATOR
// libvorbis takes each allocation of its own for granted and libavcodec aborts, so only this library's may
// fail.
INSTANTIATE_TEST_SUITE_P(Codecs, AudioEncoderAllocation,
                         testing::Values(kAudioCodecAAC, kAudioCodecOpus, kAudioCodecVorbis));
#else
INSTANTIATE_TEST_SUITE_P(Codecs, AudioEncoderAllocation, testing::Values(kAudioCodecOpus));
#endif

}  // namespace
}  // namespace qvs::test
