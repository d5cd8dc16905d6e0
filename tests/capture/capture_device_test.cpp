#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numbers>

#include "capture/CaptureDeviceBase.h"
#include "capture/CaptureManager.h"
#include "capture/CaptureUtils.h"
#include "capture/VideoDecoderCapture.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBufferSet.h"

namespace qvs::test {
namespace {

/// What a device's thread does with each picture.
void sendPicture(CaptureDeviceBase& device) {
  CaptureFrame* const frame = device.createCaptureFrameVideo(16, 16, kFourCCYV12, nullptr);
  ASSERT_NE(frame, nullptr);
  frame->getVideoFrameBuffer()->setLocations(VideoFrameBuffer::systemMem);
  device.addCaptureFrameToFrameSinks(frame);
}

TEST(CaptureDevice, AFullSinkLosesItsOldestFrameAndNobodyElseDoes) {
  CaptureDeviceBase device;
  CaptureFrameSink& one = *device.getFrameSink(device.addFrameSink(kCaptureVideo, 1, nullptr));
  CaptureFrameSink& all = *device.getFrameSink(device.addFrameSink(kCaptureVideo, 0, nullptr));
  EXPECT_EQ(device.addFrameSink(kCaptureAudio, 1, nullptr), 4u);  // the first is the preview
  for (int i = 0; i < 20; ++i) sendPicture(device);
  EXPECT_EQ(one.getCaptureFrameCount(), 1u);
  EXPECT_EQ(all.getCaptureFrameCount(), 20u);
  CaptureFrame* const newest = one.peekCaptureFrame();
  EXPECT_EQ(newest->getFrameIndex(), 20u);
  EXPECT_EQ(newest->getRefereneCount(), 4u);  // preview, both sinks, this
  one.releaseCaptureFrame(newest);
  EXPECT_EQ(one.getCaptureFrameCount(), 1u);

  // A frame is used again only when its last holder has let go.
  CaptureFrame* const oldest = all.getCaptureFrame();
  EXPECT_EQ(oldest->getFrameIndex(), 1u);
  all.releaseCaptureFrame(oldest);
  CaptureFrame* const again = device.createCaptureFrameVideo(16, 16, kFourCCYV12, nullptr);
  EXPECT_EQ(again, oldest);
  CaptureUtils::deleteCaptureFrame(again);
  EXPECT_EQ(device.removeFrameSink(2), 1);
  EXPECT_EQ(device.removeFrameSink(2), 0);
}

TEST(CaptureDevice, ASlowSessionIsToldHowManyPicturesItLost) {
  auto owned = std::make_unique<CaptureDeviceBase>();
  CaptureDeviceBase& device = *owned;
  CaptureManager::getInstance()->addDevice(std::move(owned));
  VideoDecoderCapture decoder;
  VideoFrameBuffer target;
  ASSERT_EQ(target.allocBuffer(16, 16, kFourCCYV12), kSuccess);
  decoder.setCaptureDevice(static_cast<int32_t>(device.getId()));
  uint32_t flags = 1;
  EXPECT_EQ(decoder.decode(&flags), kSuccess);
  EXPECT_EQ(flags, 0u);
  EXPECT_EQ(decoder.isFrameDone(), 0);

  TranscoderVideoDecoderCaptureInfo info;
  sendPicture(device);
  for (int round = 0; round < 2; ++round) {
    decoder.decode(&flags);
    EXPECT_EQ(flags, 7u);
    EXPECT_EQ(decoder.getDecodedFrame(target), kSuccess);
    EXPECT_EQ(target.getFrameType(), round == 0 ? 1u : 2u);
    decoder.getDecoderCaptureInfo(&info);
    for (int i = 0; round == 0 && i < 105; ++i) sendPicture(device);
  }
  EXPECT_EQ(info.droppedFrames, 5u);
  EXPECT_EQ(info.lastFrameIndex, 7u);
  EXPECT_EQ(info.frameSyncCount, 99u);
  decoder.close();
  EXPECT_EQ(device.getFrameSinkCount(), 1u);
}

TEST(CaptureDevice, MeasuresAndScalesSoundAtItsLimits) {
  const int16_t samples[] = {-32768, 100, -32768, -300};
  auto* bytes = reinterpret_cast<const uint8_t*>(samples);
  AudioLevelData levels;
  CaptureDeviceBase::calculateAudioLevels(bytes, 2, 2, 2, 48000, &levels);
  EXPECT_EQ(levels.peakLeft, 32768);
  EXPECT_EQ(levels.averageLeft, 32768);
  EXPECT_EQ(levels.peakRight, 300);
  EXPECT_EQ(levels.averageRight, 223);
  AudioLevelSingleChannelData all[4];
  CaptureDeviceBase::calculateAudioLevelsAll(bytes, 1, 7, 4, 2, 48000, all);
  EXPECT_EQ(all[3].peak, 300);
  EXPECT_EQ(all[3].timecode, 7u);

  int16_t louder[] = {30000, -100};
  CaptureDeviceBase::scaleAudio(reinterpret_cast<uint8_t*>(louder), 1, 2, 2, 48000, 6);
  EXPECT_EQ(louder[0], 32767);
  EXPECT_EQ(louder[1], -199);
}

TEST(CaptureDevice, TellsNoLevelsThatWereNeverWritten) {
  CaptureDeviceBase device;
  device.setAudioLevelTotalDataPoints(4);
  for (int i = 1; i <= 5; ++i) device.addAudioLevelData(static_cast<uint64_t>(i), i, i);
  uint64_t times[8] = {}, first = 0;
  int32_t average[8] = {}, peak[8] = {};
  uint32_t count = 8;
  device.getAudioLevelData(times, average, peak, &count, &first);
  EXPECT_EQ(count, 4u);
  EXPECT_EQ(first, 0u);
  EXPECT_THAT(times, ::testing::ElementsAre(5, 2, 3, 4, 0, 0, 0, 0));
}

TEST(CaptureDevice, DerivesRateAndSizeFromTheTarget) {
  const auto divisor = [](uint32_t rateEnum, uint32_t rateDen, uint32_t wanted) {
    CaptureUtilsFrameRateInfo info;
    CaptureUtils::getFrameRateInfo(
        &info,
        {.frameRateTargetEnum = wanted, .frameRateTargetDen = 1, .frameRateFlags = kCaptureRateByTarget},
        rateEnum, rateDen);
    return info.frameRateDivisor;
  };
  EXPECT_EQ(divisor(60, 1, 30), 2u);
  EXPECT_EQ(divisor(120, 1, 24), 1u);
  EXPECT_EQ(divisor(30000, 1001, 30), 1u);

  struct Case {
    CaptureDeviceCaptureTargetVideoData target;
    bool signal;
    std::array<uint32_t, 5> sizes;  ///< destination, offset, rotation
    bool scaled, cropped;
  };
  const double quarter = std::numbers::pi / 2;
  const Case cases[] = {
      {{}, true, {1920, 1080, 0, 0, 0}, false, false},
      {{.width = 1280, .height = 720, .sizeFlags = kCaptureSizeDown},
       true,
       {1280, 720, 0, 0, 0},
       true,
       false},
      {{.width = 640, .height = 640, .sizeFlags = kCaptureSizeDown}, true, {640, 360, 0, 0, 0}, true, false},
      {{.width = 640, .height = 640, .sizeFlags = kCaptureSizeDown | kCaptureSizeExact},
       true,
       {640, 640, 0, 0, 0},
       true,
       false},
      {{.crop = {0, 0, 63, 64}}, true, {1920, 1080, 0, 0, 0}, false, false},
      {{.crop = {1856, 0, 64, 64}}, true, {64, 64, 0, 0, 0}, false, true},
      {{.crop = {0xFFFFFFC0, 0, 64, 64}}, true, {1920, 1080, 0, 0, 0}, false, false},
      {{.frameRotation = quarter}, true, {1080, 1920, 0, 0, 1}, false, false},
      {{.frameCropAspectRatioWidth = 4, .frameCropAspectRatioHeight = 3},
       true,
       {1440, 1080, 240, 0, 0},
       false,
       false},
      {{.frameCropAspectRatioWidth = 4, .frameCropAspectRatioHeight = 3, .frameAspectRatioMethod = 1},
       true,
       {1920, 1440, 0, 0, 0},
       true,
       false},
      {{.width = 640, .height = 360, .sizeFlags = kCaptureSizeDown}, false, {720, 576, 0, 0, 0}, true, false},
      {{.sizeFlags = kCaptureSizeDown}, true, {1920, 1080, 0, 0, 0}, false, false},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(&one - cases);
    CaptureUtilsFrameTranslationInfo info;
    CaptureUtils::getFrameTranslationInfo(&info, one.target, one.signal, 1920, 1080, 720, 576);
    EXPECT_THAT((std::array{info.widthDst, info.heightDst, info.xOffset, info.yOffset, info.rotation}),
                ::testing::ElementsAreArray(one.sizes));
    EXPECT_EQ(info.scaleImage != 0, one.scaled);
    EXPECT_EQ(info.cropImage != 0, one.cropped);
  }
}

}  // namespace
}  // namespace qvs::test
