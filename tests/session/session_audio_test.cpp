#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "audio/AudioDecoderBase.h"
#include "audio/AudioEncoderBase.h"
#include "audio/AudioResampler.h"
#include "frames/AudioFrameEncoded.h"
#include "session/notify/TranscoderSessionNotifyManager.h"
#include "session/TranscoderSession.h"

namespace qvs {
namespace {

constexpr uint32_t kFail = 0xFFFFFFFFu;

/// To one channel at the same rate: no filter holds samples back.
AudioResampler* makeMonoResampler() {
  auto* resampler = new AudioResampler;
  resampler->setTargetSampleRate(48000);
  resampler->setTargetChannels(1);
  return resampler;
}

/// A decoder that writes its packet's first byte into every sample.
class FakeAudioDecoder : public AudioDecoderBase {
 public:
  FakeAudioDecoder() {
    decodedSampleRate = 48000;
    decodedChannels = 2;
    firstFrameDecoded = 1;
  }
  uint32_t decodeFirstFrame(uint8_t*, uint32_t, uint32_t) override { return 0; }
  uint32_t decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t, uint64_t timecode,
                       AudioSampleBuffer& out) override {
    if (buffer == nullptr) throw std::runtime_error("no bytes");
    std::memset(out.getBuffer(), buffer[offset], out.getLen());
    out.setTimecode(timecode * 48);
    return 0;
  }
  uint32_t getDecodeFrameHeaderSize() override { return 7; }
};

/// An encoder whose packets are the samples themselves.
class FakeAudioEncoder : public AudioEncoderBase {
 public:
  uint32_t initialize() override { return 0; }
  uint32_t getHeaders(std::vector<AudioFrameEncoded>&) override { return 0; }
  uint32_t addSampleBuffer(AudioSampleBuffer* block, std::vector<AudioFrameEncoded>& out) override {
    if (broken) throw std::runtime_error("broken");
    auto* bytes = static_cast<uint8_t*>(std::malloc(block->getLen()));
    std::memcpy(bytes, block->getBuffer(), block->getLen());
    out.emplace_back(bytes, block->getLen(), block->getTimecode(), 2u, 48000u);
    delete block;
    return 0;
  }
  uint32_t close() override { return 0; }

  bool broken = false;
};

class AudioSession : public TranscoderSession {
 public:
  AudioSession() {
    audioDecoder = std::make_unique<FakeAudioDecoder>();
    audioEncoders.emplace_back().audioEncoder = std::make_unique<FakeAudioEncoder>();
    audioDecoderBuffersCreate(2);
    audioDecoderBuffersAllocate(4, 2, 48000);
  }
  FakeAudioEncoder& encoder() { return static_cast<FakeAudioEncoder&>(*getAudioEncoder(0)); }
};

class SessionAudio : public testing::Test {
 protected:
  void decode(uint8_t sample) {
    uint8_t bytes[] = {0, sample};
    ASSERT_EQ(session.audioDecoderDecodeFrame(bytes, 1, 1, 10, 0), 0u);
  }

  AudioSession session;
  EncodedAudioUnits packets;
};

TEST_F(SessionAudio, CarriesABlockToAPacketOfItsOwn) {
  decode(5);
  EXPECT_EQ(session.audioEncoderEncodeBufferStart(0, 0), 0u);
  decode(6);  // must not reach the copy
  EXPECT_EQ(session.audioEncoderAddSampleBuffer(0, 0, packets), 0u);
  ASSERT_EQ(packets.size(), 1u);
  EXPECT_EQ(packets[0].getLen(), 16u);
  EXPECT_EQ(packets[0].getBuffer()[15], 5);
  EXPECT_EQ(packets[0].getTimecode(), 480u);
  EXPECT_EQ(session.audioEncoderAddSampleBuffer(0, 0, packets), kFail);  // nothing pending any more
  EXPECT_EQ(session.audioEncoderEncodeBufferDone(0, 0), 0u);
}

TEST_F(SessionAudio, FreesWhatIsReplacedSkippedOrLeft) {
  decode(5);
  session.audioEncoderEncodeBufferStart(0, 0);
  session.audioEncoderEncodeBufferStart(0, 1);
  EXPECT_NE(session.getAudioEncoderEncodeBuffer(0), nullptr);
  EXPECT_EQ(session.audioEncoderEncodeBufferDone(0, 0), 0u);
  EXPECT_EQ(session.getAudioEncoderEncodeBuffer(0), nullptr);
  EXPECT_EQ(session.audioEncoderEncodeBufferStart(0, 2), kFail);
  EXPECT_EQ(session.audioEncoderEncodeBufferStart(1, 0), kFail);
  session.audioEncoderEncodeBufferStart(0, 0);
}

TEST_F(SessionAudio, KeepsTheBlockWhenTheEncoderThrows) {
  session.audioEncoderEncodeBufferStart(0, 0);
  session.encoder().broken = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(session.audioEncoderAddSampleBuffer(0, 0, packets), kFail);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "TranscoderSession::audioEncoderAddSampleBuffer: broken\n");
  EXPECT_NE(session.getAudioEncoderEncodeBuffer(0), nullptr);
}

TEST_F(SessionAudio, ResamplesInPlaceAndIntoANewBlock) {
  decode(5);
  EXPECT_EQ(session.audioEncoderResampleFrame(0, 0), 0u);  // nothing pending
  session.audioEncoderEncodeBufferStart(0, 0);
  EXPECT_EQ(session.audioEncoderResampleFrame(0, 0), kFail);  // no resampler: the block stays
  EXPECT_EQ(session.getAudioEncoderEncodeBuffer(0)->getSampleCount(), 4u);
  session.encoder().setAudioResampler(makeMonoResampler());
  EXPECT_EQ(session.audioEncoderResampleFrame(0, 0), 0u);
  EXPECT_EQ(session.getAudioEncoderEncodeBuffer(0)->getSampleCount(), 4u);
  EXPECT_EQ(session.getAudioEncoderEncodeBuffer(0)->getLen(), 8u);

  EXPECT_EQ(session.audioDecoderResampleFrame(0, 0), 0u);
  session.getAudioDecoder()->setAudioResampler(makeMonoResampler());
  EXPECT_EQ(session.audioDecoderResampleFrame(0, 0), 0u);
  AudioSampleBuffer& block = *session.getAudioDecoderBuffers().getAudioSampleBuffer(0);
  EXPECT_EQ(block.getSampleCount(), 4u);
  EXPECT_EQ(block.getChannels(), 1u);
  EXPECT_EQ(block.getBuffer()[6], 5);
}

TEST_F(SessionAudio, SaysOnTheConsoleWhichBlockIsMissing) {
  uint32_t status = 0;
  int64_t timecode = 0;
  testing::internal::CaptureStdout();
  EXPECT_EQ(session.audioDecoderDecodeFrame(nullptr, 0, 0, 0, 2), kFail);
  EXPECT_EQ(session.audioDecoderResampleFrame(0, 2), kFail);
  EXPECT_EQ(session.audioDecoderCaptureFrame(2, &status, &timecode), kFail);
  EXPECT_EQ(session.audioDecoderDecodeFrame(nullptr, 0, 0, 0, 0), kFail);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "TranscoderSession::audioDecoderDecodeFrame: audioSampleBuffer missing\n"
            "TranscoderSession::audioDecoderResampleFrame: audioSampleBuffer missing\n"
            "TranscoderSession::audioDecoderCaptureFrame: audioSampleBuffer missing\n"
            "TranscoderSession::audioDecoderDecodeFrame: no bytes\n");
}

TEST_F(SessionAudio, ForwardsFormatQueriesAndSettings) {
  uint32_t rate = 0, channels = 0;
  EXPECT_EQ(session.audioDecoderGetSampleRate(&rate), 0u);
  EXPECT_EQ(session.audioDecoderGetChannels(&channels), 0u);
  EXPECT_EQ(rate, 48000u);
  EXPECT_EQ(channels, 2u);
  EXPECT_EQ(session.audioDecoderIsFirstFrameDecoded(), 1u);
  EXPECT_EQ(session.audioEncoderSetBitrate(0, 128000), 0u);
  EXPECT_EQ(session.encoder().getBitrate(), 128000u);
  EXPECT_EQ(session.audioEncoderSetQuality(0, 0.5), 0u);
  EXPECT_EQ(session.encoder().getQuality(), 0.5);
}

/// Notes the channels of the blocks that it is shown.
class AudioListener : public ITranscoderSessionNotifyAudioFrameEncode {
 public:
  uint32_t lockAudio() override { return 0; }
  uint32_t unlockAudio() override { return 0; }
  uint32_t onAudioEncodeBeforeResample(int64_t, IAudioEncoder*, AudioSampleBuffer* block) override {
    before = block->getChannels();
    return 0;
  }
  uint32_t onAudioEncodeAfterResample(int64_t, IAudioEncoder*, AudioSampleBuffer* block) override {
    after = block->getChannels();
    return 0;
  }
  uint32_t before = 0;
  uint32_t after = 0;
};

TEST_F(SessionAudio, ShowsListenersTheBlockThatIsCurrent) {
  AudioListener listener;
  TranscoderSessionNotifyManager& manager = *TranscoderSessionNotifyManager::getInstance();
  manager.addAudioFrameEncodeListener(session.getSessionId(), &listener);
  session.audioEncoderResampleFrame(0, 0);
  EXPECT_EQ(listener.before, 0u);  // nothing pending: not told
  session.audioEncoderEncodeBufferStart(0, 0);
  session.encoder().setAudioResampler(makeMonoResampler());
  session.audioEncoderResampleFrame(0, 0);
  manager.notifySessionListenersDestroy(session.getSessionId());
  EXPECT_EQ(listener.before, 2u);
  EXPECT_EQ(listener.after, 1u);
}

}  // namespace
}  // namespace qvs
