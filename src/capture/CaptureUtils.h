#pragma once

#include <cstdint>
#include <string>

#include "capture/CaptureDeviceRecords.h"
#include "capture/CaptureFrame.h"

namespace qvs {

class VideoFrameBufferSet;

/// How often a device's pictures are taken: every so many.
struct CaptureUtilsFrameRateInfo {
  uint32_t frameRateDivisor = 1;
};

/// How a captured picture becomes the one that is wanted: crop, then scale to the intermediate size, then turn,
/// then cut to the destination from the offset. Pixels.
struct CaptureUtilsFrameTranslationInfo {
  uint32_t xCrop = 0, yCrop = 0, widthCrop = 0, heightCrop = 0;
  uint32_t widthInt = 0, heightInt = 0;
  uint32_t widthDst = 0, heightDst = 0;
  uint32_t xOffset = 0, yOffset = 0;
  uint32_t rotation = 0;  ///< quarter turns
  double rotationRadians = 0;
  uint8_t scaleImage = 0, cropImage = 0, scaleImageStretch = 0;

  bool operator==(const CaptureUtilsFrameTranslationInfo&) const = default;
};

class CaptureUtils {
 public:
  /// New frames, which the caller owns; null where memory is out or no frame has that size.
  static CaptureFrame* createCaptureFrameVideo(uint32_t width, uint32_t height, uint32_t fourcc,
                                               VideoFrameBufferSet* set);
  static CaptureFrame* createCaptureFrameAudio(uint32_t sampleCount, uint32_t channels, uint32_t sampleRate);
  static void deleteCaptureFrame(CaptureFrame* frame);

  /// Storage of this size for a frame that may have had another. False where there is none.
  static bool preparePicture(VideoFrameBuffer& picture, uint32_t width, uint32_t height, uint32_t fourcc,
                             VideoFrameBufferSet* set);
  /// Keeps larger memory than is needed; `getLen` then covers more than the samples.
  static bool prepareSound(AudioSampleBuffer& sound, uint32_t sampleCount, uint32_t channels,
                           uint32_t sampleRate);

  /// A file device's number, 2, gives "UNKNOWN" too.
  static std::string getImplementationName(uint32_t implementation);

  static void getFrameRateInfo(CaptureUtilsFrameRateInfo* out,
                               const CaptureDeviceCaptureTargetVideoData& target, uint32_t frameRateEnum,
                               uint32_t frameRateDen);

  /// `applyTarget` is false for pictures without a signal, which take the size for empty ones instead.
  static void getFrameTranslationInfo(CaptureUtilsFrameTranslationInfo* info,
                                      const CaptureDeviceCaptureTargetVideoData& target, bool applyTarget,
                                      uint32_t srcWidth, uint32_t srcHeight, uint32_t emptyFrameWidth,
                                      uint32_t emptyFrameHeight);
};

}  // namespace qvs
