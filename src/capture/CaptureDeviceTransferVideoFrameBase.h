#pragma once

#include "bufstream/UccInstance.h"
#include "capture/CaptureUtils.h"
#include "capture/ICaptureDeviceTransferVideoFrame.h"

namespace qvs {

/// Deinterlacing for captured pictures in packed 4:4:4. One thread.
class CaptureDeviceTransferVideoFrameBase : public ICaptureDeviceTransferVideoFrame {
 public:
  void setLogger(ILogger* value) override { logger = value; }
  ILogger* getLogger() override { return logger; }
  ICaptureDevice* getCaptureDevice() override { return captureDevice; }
  void getCaptureDevice(ICaptureDevice* value) override { captureDevice = value; }
  uint32_t getFrameWidth() override { return frameWidth; }
  void setFrameWidth(uint32_t value) override { frameWidth = value; }
  uint32_t getFrameHeight() override { return frameHeight; }
  void setFrameHeight(uint32_t value) override { frameHeight = value; }
  uint32_t getFrameStride() override { return frameStride; }
  void setFrameStride(uint32_t value) override { frameStride = value; }
  uint32_t getPixelFormat() override { return pixelFormat; }
  void setPixelFormat(uint32_t value) override { pixelFormat = value; }
  uint8_t getVideoProgressive() override { return videoProgressive; }
  void setVideoProgressive(uint8_t value) override { videoProgressive = value; }
  uint8_t getVideoTopFieldFirst() override { return videoTopFieldFirst; }
  void setVideoTopFieldFirst(uint8_t value) override { videoTopFieldFirst = value; }
  const CaptureUtilsFrameTranslationInfo& getFrameTranslationInfo() override { return frameTranslationInfo; }
  void setFrameTranslationInfo(const CaptureUtilsFrameTranslationInfo& value) override {
    frameTranslationInfo = value;
  }

  /// An interlaced "AYUV" picture as a whole one of its first field, with the help of the picture before. 0, or what the
  /// converter answers. Both have `stride` bytes a row.
  uint32_t deinterlaceFrameMC(uint8_t* src, uint8_t* dst, uint32_t width, uint32_t height, uint32_t stride);
  /// Not offered: does nothing.
  uint32_t deinterlaceFrameYADIF(uint8_t*, uint8_t*, uint32_t, uint32_t, uint32_t) { return 0; }
  bool isYADIFSupported() const { return false; }

 private:
  UccInstance ucc_deinterlace_ptr;
  ILogger* logger = nullptr;
  ICaptureDevice* captureDevice = nullptr;
  uint32_t frameWidth = 0;
  uint32_t frameHeight = 0;
  uint32_t frameStride = 0;
  uint32_t pixelFormat = 0;
  uint8_t videoProgressive = 0;
  uint8_t videoTopFieldFirst = 1;
  CaptureUtilsFrameTranslationInfo frameTranslationInfo;
};

}  // namespace qvs
