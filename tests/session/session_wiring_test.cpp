#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "hardware/HardwareInspector.h"
#include "session/TranscoderSession.h"

namespace qvs {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr uint32_t kFail = 0xFFFFFFFFu;

class FakeInspector : public HardwareInspector {
 public:
  FakeInspector() = default;
  using HardwareInspector::infoAdvantechVega;
  using HardwareInspector::infoCUDA;
  using HardwareInspector::infoQuickSync;
  using HardwareInspector::infoVAAPI;
  using HardwareInspector::infoX264;
  using HardwareInspector::intrinsicScaler;
};

/// A session whose machine the test makes up.
class FakeSession : public TranscoderSession {
 public:
  using TranscoderSession::availability;
  using TranscoderSession::initializeFrom;
};

std::vector<std::string> lines(TranscoderSession& session) {
  std::vector<LogStatement> statements;
  session.getLogCollector().getLogStatements(statements);
  std::vector<std::string> texts;
  for (const LogStatement& s : statements) {
    texts.push_back(std::to_string(s.level) + "/" + std::to_string(s.contextType) + "/" +
                    std::to_string(s.contextIndex) + " " + s.str);
  }
  return texts;
}

TEST(SessionInventory, LogsABareMachine) {
  FakeInspector inspector;
  FakeSession session;
  session.initializeFrom(inspector);
  EXPECT_THAT(
      lines(session),
      ElementsAre(
          "2/0/0 TranscoderSession.isCUDAAvailable[{context}]: NVidia hardware acceleration is NOT available",
          "2/0/0 TranscoderSession.isQuickSyncAvailable[{context}]: Intel Quick Sync hardware acceleration "
          "is NOT "
          "available."));
}

TEST(SessionInventory, LogsWhatIsThere) {
  FakeInspector inspector;
  inspector.infoCUDA.availableFlags = 1 | 2 | 8 | 32 | 0x200;
  inspector.infoQuickSync = {1, 19, 1 | 2 | 8 | 0x100 | 0x200};
  inspector.infoVAAPI = {1, 16, 1 | 4 | 8};
  inspector.infoX264 = {164, 0, 1};
  inspector.infoAdvantechVega = {3, 0, 1};
  inspector.intrinsicScaler = 1;
  FakeSession session;
  session.initializeFrom(inspector);
  EXPECT_THAT(
      lines(session),
      ElementsAre("2/0/0 TranscoderSession.isCUDAAvailable[{context}]:NVidia hardware acceleration is "
                  "available: NVENC12[H264], NVENC12[H265], NVCUVID[NVDEC]",
                  "2/0/0 TranscoderSession.isQuickSyncAvailable[{context}]: Intel Quick Sync hardware "
                  "acceleration is available: ENC[H264], DEC[H264], DEC[H265], DEC[MP2], version:1.19",
                  "2/0/0 TranscoderSession.isVAAPIAvailable[{context}]: Intel VAAPI hardware acceleration is "
                  "available: ENC[H264], ENC[H265], version:1.16",
                  "2/0/0 TranscoderSession.isX264Available[{context}]: X264 is available, build:164",
                  "2/0/0 TranscoderSession.isAdvantechVegaAvailable[{context}]: Advantech Vega is available, "
                  "build:3",
                  "2/0/0 TranscoderSession.isIntrinsicScalerAvailable[{context}]: Intrinsic scaler is "
                  "available"));
  EXPECT_EQ(session.getAvailability().quickSyncHardwareAccess, 2u);
}

TEST(SessionInventory, KeepsTheOddCasesOfItsLines) {
  FakeInspector inspector;
  inspector.infoCUDA.availableFlags = 1 | 2 | 8;  // encoders possible, plug-in not loaded
  inspector.infoVAAPI = {1, 0, 8};                // H.265 alone is not announced
  FakeSession session;
  session.initializeFrom(inspector);
  EXPECT_THAT(lines(session)[0], testing::EndsWith("acceleration is available:,"));
  inspector.infoCUDA.availableFlags = 1;
  session.initializeFrom(inspector);
  const auto again = lines(session);
  ASSERT_EQ(again.size(), 2u);
  EXPECT_THAT(again[0],
              testing::StartsWith("3/0/0 TranscoderSession.isCUDAAvailable[{context}]:NVidia hardware "
                                  "acceleration is available: The drivers' version needs to be at least "));
}

TEST(SessionWiring, CreatesTheDecoderAndKeepsItWhenTheNextCanNotBe) {
  TranscoderSession session;
  EXPECT_EQ(session.videoDecoderCreate(0, 8, 9, 8, 4, kFourCCI420), 0u);
  EXPECT_THAT(lines(session),
              ElementsAre("2/1/0 TranscoderSession.videoDecoderCreate[{context}]: Create video "
                          "decoder: VPX[9]: default"));
  IVideoDecoder* decoder = session.getVideoDecoder();
  ASSERT_NE(decoder, nullptr);
  EXPECT_EQ(decoder->getCodecVersion(), 9u);
  EXPECT_EQ(decoder->getImplementation(), 4u);
  EXPECT_EQ(session.videoDecoderCreate(0, 99, 9, 8, 0, kFourCCI420), kFail);
  EXPECT_THAT(lines(session),
              ElementsAre("4/1/0 TranscoderSession.videoDecoderCreate[{context}]: Unknown codec: 99"));
  EXPECT_EQ(session.getVideoDecoder(), decoder);
  EXPECT_EQ(session.videoDecoderCreate(0, 8, 8, 8, 0, kFourCCYV12), 0u);
  EXPECT_EQ(session.getVideoDecoder()->getCodecVersion(), 8u);
}

TEST(SessionWiring, AppendsAndReplacesEncoders) {
  TranscoderSession session;
  int32_t index = -1;
  EXPECT_EQ(session.videoEncoderAdd(8, 8, 8, kFourCCYV12, 0, &index), 0u);
  EXPECT_EQ(index, 0);
  index = 40;  // past the end appends too
  EXPECT_EQ(session.videoEncoderAdd(8, 9, 8, kFourCCYV12, 0, &index), 0u);
  EXPECT_EQ(index, 1);
  index = std::numeric_limits<int32_t>::min();
  EXPECT_EQ(session.videoEncoderAdd(8, 9, 8, kFourCCYV12, 0, &index), 0u);
  EXPECT_EQ(index, 2);
  lines(session);

  index = 1;
  EXPECT_EQ(session.videoEncoderAdd(8, 8, 8, kFourCCYV12, 0, &index), 0u);
  EXPECT_EQ(index, 1);
  EXPECT_THAT(
      lines(session),
      ElementsAre(
          "2/2/1 TranscoderSession.videoEncoderAdd[{context}]: Delete current video encoder",
          "2/2/1 TranscoderSession.videoEncoderAdd[{context}]: Create video encoder: VPX[8]: default"));
  EXPECT_EQ(session.getVideoEncoder(1)->getCodecVersion(), 8u);
  EXPECT_EQ(session.getVideoEncoder(1)->getSessionIndex(), 1u);

  EXPECT_EQ(session.videoEncoderAdd(5, 0, 8, kFourCCYV12, 0, &index), kFail);
  EXPECT_EQ(session.getVideoEncoder(1), nullptr);
  EXPECT_EQ(session.videoEncoderInitialize(1), kFail);
  EXPECT_EQ(session.videoEncoderAdd(8, 9, 8, kFourCCYV12, 0, &index), 0u);  // the slot is served again
  EXPECT_EQ(session.getVideoEncoder(1)->getCodecVersion(), 9u);
  EXPECT_EQ(session.getVideoEncoderCount(), 3u);
}

TEST(SessionWiring, AddsAudioEncodersInTurn) {
  TranscoderSession session;
  int32_t index = -7;
  EXPECT_EQ(session.audioEncoderAdd(2, 0, &index), kFail);
  EXPECT_EQ(index, -7);
  constexpr uint32_t kCodecs[] = {12, 9, 10};
  for (int32_t expected = 0; expected < 3; ++expected) {
    EXPECT_EQ(session.audioEncoderAdd(kCodecs[expected], 0, &index), 0u);
    EXPECT_EQ(index, expected);
    IAudioEncoder* encoder = session.getAudioEncoder(static_cast<uint32_t>(index));
    ASSERT_NE(encoder, nullptr);
    EXPECT_EQ(encoder->getCodec(), kCodecs[expected]);
    EXPECT_EQ(encoder->getSessionIndex(), static_cast<uint32_t>(expected));
  }
  constexpr const char* kCreated = "TranscoderSession.audioEncoderAdd[{context}]: Create audio encoder: ";
  EXPECT_THAT(lines(session),
              ElementsAre("4/4/0 TranscoderSession.audioEncoderAdd[{context}]: Unknown codec: 2",
                          std::string("2/4/0 ") + kCreated + "OPUS: default",
                          std::string("2/4/1 ") + kCreated + "VORBIS: default",
                          std::string("2/4/2 ") + kCreated + "AAC: default"));
}

TEST(SessionWiring, TellsWhichAudioDecoderThereIs) {
  TranscoderSession session;
  EXPECT_EQ(session.audioDecoderCreate(1, 99, 0), 0u);  // a capture device has no codec
  EXPECT_EQ(session.audioDecoderCreate(0, 3, 0), kFail);
  EXPECT_THAT(
      lines(session),
      ElementsAre(
          "2/3/0 TranscoderSession.audioDecoderCreate[{context}]: Create audio decoder: Capture: default",
          "4/3/0 TranscoderSession.audioDecoderCreate[{context}]: Unknown codec: 3"));
}

TEST(SessionWiring, StoresTheScalerThatCanServe) {
  FakeSession session;
  const auto stored = [&](uint32_t implementation) {
    EXPECT_EQ(session.videoScalerSetImplementation2(implementation, 3), 0u);
    return session.getVideoScalerImplementation();
  };
  EXPECT_EQ(session.getVideoScalerGPUID(), -1);
  EXPECT_EQ(stored(100), 1u);
  EXPECT_EQ(stored(200), 1u);
  EXPECT_EQ(stored(500), 1u);
  EXPECT_EQ(stored(300), 300u);
  EXPECT_EQ(stored(400), 400u);
  EXPECT_EQ(stored(7), 7u);
  EXPECT_EQ(session.getVideoScalerGPUID(), 3);
  session.availability.cudaAvailable = 1;
  EXPECT_EQ(stored(100), 100u);
}

TEST(SessionWiring, NamesItsScalerAndFlags) {
  TranscoderSession session;
  session.videoScalerInitialize();
  session.setVideoScalerFlags(0x10003);
  session.videoScalerSetImplementation2(400, 0);
  session.videoScalerInitialize();
  session.videoScalerSetImplementation2(77, 0);
  session.videoScalerInitialize();
  EXPECT_EQ(session.videoScalerSetSource(1280, 720, 29.97), kFail);
  EXPECT_EQ(session.videoScalerAddScaling(640, 360, 30, 2, true), kFail);
  const std::string tag =
      "2/8/0 TranscoderSession.videoScalerInitialize[{context}]: Initialize video scaler: ";
  EXPECT_THAT(
      lines(session),
      ElementsAre(
          tag + "default", tag + "OPENCL, flags:0x10003", tag + "UNKNOWN:77, flags:0x10003",
          "2/8/0 TranscoderSession.videoScalerSetSource[{context}]: video scaler set source : width = "
          "1280, height = 720, rate = 29.97",
          "2/8/0 TranscoderSession.videoScalerAddScaling[{context}]: video scaler set source : width "
          "= 640, height = 360, rate = 30, scaleIndex = 2, stableFramerate1"));
}

TEST(SessionWiring, SizesAPoolOnlyForALinkedEncoder) {
  TranscoderSession session;
  EXPECT_EQ(session.videoEncoderBufferSetsCreate(2), 0u);
  uint32_t set = 9;
  EXPECT_EQ(session.videoEncoderBufferSetAlloc(&set), 0u);
  EXPECT_EQ(set, 0u);
  EXPECT_EQ(session.videoEncoderBufferAdd(64, 48, 3, kFourCCI420, 0, set), kFail);  // no encoder reads it
  int32_t index = -1;
  session.videoEncoderAdd(8, 8, 8, kFourCCYV12, 0, &index);
  EXPECT_EQ(session.videoEncoderBufferAdd(64, 48, 3, kFourCCI420, 0, set), kFail);
  session.videoEncoderSetFrameIndex(0, 0);
  EXPECT_EQ(session.videoEncoderBufferAdd(64, 48, 1, kFourCCI420, 0, set), 0u);
  EXPECT_EQ(session.videoEncoderBufferAdd(64, 48, 1, kFourCCI420, 0, 5), kFail);
  const VideoFrameBuffer* frame = session.getVideoEncoderBuffer(0, 1);
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->getFourCC(), kFourCCYV12);  // the session's format, not the argument
  EXPECT_EQ(frame->getFitMode(), 1u);
  EXPECT_EQ(session.getVideoEncoderBuffer(0, 2), nullptr);
}

TEST(SessionWiring, ReportsFailureFromRectanglesInEveryCase) {
  TranscoderSession session;
  session.videoEncoderBufferSetsCreate(1);
  uint32_t set = 0;
  session.videoEncoderBufferSetAlloc(&set);
  const uint32_t rect[] = {1, 2, 3, 4};
  EXPECT_EQ(session.videoEncoderSetCrop(0, rect), kFail);
  EXPECT_EQ(session.videoEncoderSetDstRect(0, rect), kFail);
  EXPECT_EQ(session.videoEncoderSetPadding(9, rect), kFail);
  VideoFrameBuffer* frame = session.getVideoEncoderBuffer(0, 0);
  EXPECT_TRUE(frame->isCrop());
  EXPECT_TRUE(frame->isDstRect());
  EXPECT_FALSE(frame->isSrcRect());
  EXPECT_EQ(frame->getCrop()[3], 4u);
  session.videoEncoderSetCrop(0, nullptr);
  EXPECT_FALSE(frame->isCrop());
}

/// Of each vector; every operation on an empty one is called through the natives.
TEST(SessionWiring, FailsOutsideItsVectors) {
  TranscoderSession session;
  int32_t index = -1;
  uint32_t word = 0;
  session.videoDecoderCreate(0, 8, 8, 8, 0, kFourCCYV12);
  session.videoDecoderBuffersCreate(2);
  session.videoEncoderAdd(8, 8, 8, kFourCCYV12, 0, &index);
  session.videoEncoderBufferSetsCreate(2);
  session.videoEncoderBufferSetAlloc(&word);
  for (uint32_t past : {2u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(session.videoDecoderBufferAcquire(past), kFail);
    EXPECT_EQ(session.videoEncoderBufferAllocate(past, &word), kFail);
    EXPECT_EQ(session.videoEncoderBufferAcquire(0, past), kFail);
    EXPECT_EQ(session.videoEncoderSetBitrate(past, 1), kFail);
    EXPECT_EQ(session.videoEncoderAddFrame(0, past, 0, 0, 0), kFail);
    EXPECT_EQ(session.audioEncoderSetBitrate(past, 1), kFail);
  }
  EXPECT_EQ(session.videoDecoderBuffersCreate(0xFFFFFFFF), kFail);
  session.videoEncoderBufferSetsCreate(0xFFFFFFFF);
  EXPECT_EQ(session.videoEncoderBufferSetAlloc(&word), kFail);
}

TEST(SessionWiring, GrowsItsAudioScratchOnlyWhenNeeded) {
  TranscoderSession session;
  uint8_t* first = session.getAudioDecoderWorkingBuffer(100);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(session.getAudioDecoderWorkingBuffer(50), first);
  uint8_t* grown = session.getAudioDecoderWorkingBuffer(1000);
  std::memset(grown, 1, 1000);
}

}  // namespace
}  // namespace qvs
