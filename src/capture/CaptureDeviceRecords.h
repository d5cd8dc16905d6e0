#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "frames/AudioLevelData.h"

// What a capture device and its host tell each other. Fields are named as in the Java records.

namespace qvs {

inline constexpr uint32_t kCaptureImplementationBlackMagic = 1;
inline constexpr uint32_t kCaptureImplementationFile = 2;

/// Bits of CaptureDeviceCaptureTargetVideoData.
inline constexpr uint64_t kCaptureSizeDown = 1;   ///< where the picture is larger
inline constexpr uint64_t kCaptureSizeUp = 2;     ///< where it is smaller
inline constexpr uint64_t kCaptureSizeExact = 4;  ///< whatever its aspect
inline constexpr uint64_t kCaptureRateByTarget = 1;
inline constexpr uint64_t kCaptureRateByDivisor = 2;

struct CaptureDeviceCaptureParamsVideoData {
  uint8_t enable = 1;
  int32_t autoDetectInputSource = 0;
  uint32_t frameRateDivisor = 1;
  int32_t renditionIndex = -1;
  uint32_t pixelFormat = 0;  ///< 1: 8-bit YUV, else 10-bit
  uint32_t flags = 0;        ///< for the hardware
};

struct CaptureDeviceCaptureParamsAudioData {
  uint8_t enable = 1;
  uint32_t sampleRate = 48000;  ///< Hz
  uint32_t channels = 2;
  uint32_t bytesPerSample = 2;
};

struct CaptureDeviceCaptureTargetVideoData {
  uint32_t width = 0;
  uint32_t height = 0;
  std::array<uint32_t, 4> crop{};  ///< x, y, width, height
  uint64_t sizeFlags = 0;
  uint32_t keyFrameInterval = 0;  ///< ms
  uint32_t frameRateTargetEnum = 0;
  uint32_t frameRateTargetDen = 0;
  uint64_t frameRateFlags = 0;
  uint32_t frameRateDivisor = 0;
  double frameRotation = 0;  ///< radians
  uint32_t frameCropAspectRatioWidth = 0;
  uint32_t frameCropAspectRatioHeight = 0;
  uint32_t frameAspectRatioMethod = 0;  ///< 0: crop to the ratio, 1: stretch to it
};

struct AudioLevelSingleChannelData {
  uint64_t timecode = 0;
  int32_t average = 0;
  int32_t peak = 0;
};

/// Which channels of the capture become the two of the output.
struct CaptureDeviceAudioChannelMap {
  uint32_t left = 0;
  uint32_t right = 1;
};

/// Statistics of a capture session. What ends in "ModeSwitch" counts since the last change of mode or input.
struct CaptureSessionInfoData {
  static constexpr uint32_t kChannelsMax = 32;

  uint8_t running = 0;
  uint32_t renditionIndex = 0;
  uint8_t videoEnable = 0;
  uint32_t videoInput = 0;
  uint64_t videoFrameCountTotal = 0;
  uint64_t videoFrameCountModeSwitch = 0;
  uint64_t videoLastTimecode = 0;
  uint64_t videoLastFrameIndex = 0;
  uint64_t videoLastKeyTimecode = 0;
  uint64_t videoLastGOPDuration = 0;
  uint32_t videoLastFrameWidth = 0;
  uint32_t videoLastFrameHeight = 0;
  double videoLastFrameRate = 0;
  double videoLastFrameRotation = 0;
  uint32_t videoLastFrameXOffset = 0;
  uint32_t videoLastFrameYOffset = 0;
  uint64_t videoLastFrameFlags = 0;
  uint64_t videoDroppedFrames = 0;
  uint64_t videoTimescale = 0;
  uint32_t videoColorSpace = 0;
  uint32_t videoFrameWidth = 0;
  uint32_t videoFrameHeight = 0;
  uint8_t videoProgressive = 0;
  uint8_t videoTopFieldFirst = 0;
  uint8_t video3D = 0;
  uint32_t videoFrameRateDivisor = 0;
  uint32_t videoFrameRateEnum = 0;
  uint32_t videoFrameRateDen = 0;
  uint32_t videoKeyFrameIntervalAdjusted = 0;
  double videoFrameRate = 0;
  uint64_t videoVANCPacketsTotal = 0;
  uint64_t videoVANCPacketsModeSwitch = 0;
  uint64_t videoVANCCEA708PacketsTotal = 0;
  uint64_t videoVANCCEA708PacketsModeSwitch = 0;
  uint64_t videoLine21CEA708PacketsTotal = 0;
  uint64_t videoLine21CEA708PacketsModeSwitch = 0;
  uint8_t audioEnable = 0;
  uint32_t audioInput = 0;
  uint64_t audioFrameCountTotal = 0;
  uint64_t audioFrameCountModeSwitch = 0;
  uint64_t audioLastTimecode = 0;
  uint64_t audioTimescale = 0;
  uint32_t audioSampleRate = 0;
  uint32_t audioChannels = 0;
  uint32_t audioBytesPerSample = 0;
  AudioLevelData audioLastLevelData;
  std::array<AudioLevelSingleChannelData, kChannelsMax> audioLastAllLevelData{};
  uint32_t audioLastAllLevelDataCount = 0;
  CaptureDeviceAudioChannelMap audioLastChannelMap;
};

struct TranscoderCaptureDeviceCaptureInputVideoData {
  static constexpr uint32_t kInputsMax = 20;

  std::array<uint32_t, kInputsMax> input{};
  uint32_t inputCount = 0;
  int32_t inputSelected = -1;  ///< -1: none
};

struct CaptureDeviceAncillaryDataFilter {
  int32_t filterType = 0;  ///< 0: no packets, 1: all, 2: this one too
  int32_t did = 0;
  int32_t sid = 0;  ///< negative: any
};

struct CaptureDeviceStateInfoData {
  uint64_t state = 0;  ///< bit 0: run
  uint32_t status = 0;
};

struct CaptureDeviceOverlayInfo {
  uint8_t showing = 0;
  std::string url;
  std::string broadcastId;
  std::string serviceId;
  std::string serviceExtraData;
};

}  // namespace qvs
