#pragma once

#include "capture/ICaptureDeviceRendition.h"

namespace qvs {

/// What all renditions share.
class CaptureDeviceRenditionBase : public ICaptureDeviceRendition {
 public:
  void setLogger(ILogger* value) override { logger = value; }
  uint64_t getFlags() override { return flags; }
  void setFlags(uint64_t value) override { flags = value; }
  uint32_t getIndex() override { return index; }
  void setIndex(uint32_t value) override { index = value; }
  uint32_t getId() override { return id; }
  void setId(uint32_t value) override { id = value; }
  std::string getName() override { return name; }
  void setName(const std::string& value) override { name = value; }
  uint32_t getVideoColorSpace() override { return videoColorSpace; }
  void setVideoColorSpace(uint32_t value) override { videoColorSpace = value; }
  uint32_t getVideoFrameHeight() override { return videoFrameHeight; }
  void setVideoFrameHeight(uint32_t value) override { videoFrameHeight = value; }
  double getVideoFrameRate() override { return videoFrameRate; }
  void setVideoFrameRate(double value) override { videoFrameRate = value; }
  uint32_t getVideoFrameRateDen() override { return videoFrameRateDen; }
  void setVideoFrameRateDen(uint32_t value) override { videoFrameRateDen = value; }
  uint32_t getVideoFrameRateEnum() override { return videoFrameRateEnum; }
  void setVideoFrameRateEnum(uint32_t value) override { videoFrameRateEnum = value; }
  uint32_t getVideoFrameWidth() override { return videoFrameWidth; }
  void setVideoFrameWidth(uint32_t value) override { videoFrameWidth = value; }
  uint8_t getVideo3D() override { return video3D; }
  void setVideo3D(uint8_t value) override { video3D = value; }
  uint8_t getVideoProgressive() override { return videoProgressive; }
  void setVideoProgressive(uint8_t value) override { videoProgressive = value; }
  uint8_t getVideoTopFieldFirst() override { return videoTopFieldFirst; }
  void setVideoTopFieldFirst(uint8_t value) override { videoTopFieldFirst = value; }
  std::string getInfoJSON() override;

 protected:
  /// Further keys, each with a comma in front.
  virtual std::string getFurtherJSON() { return {}; }

  ILogger* logger = nullptr;  ///< borrowed
  uint32_t index = 0;         ///< among the device's
  uint32_t id = 0;
  std::string name;
  uint64_t flags = 0;
  uint32_t videoFrameWidth = 0;
  uint32_t videoFrameHeight = 0;
  double videoFrameRate = 0;
  uint32_t videoFrameRateEnum = 0;
  uint32_t videoFrameRateDen = 0;
  uint32_t videoColorSpace = 0;
  uint8_t videoProgressive = 0;
  uint8_t videoTopFieldFirst = 0;
  uint8_t video3D = 0;
};

}  // namespace qvs
