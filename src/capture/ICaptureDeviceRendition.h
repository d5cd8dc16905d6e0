#pragma once

#include <cstdint>
#include <string>

namespace qvs {

class ILogger;

/// One video mode of a capture device. Filled before the device is added to the manager, read by any thread
/// afterwards.
class ICaptureDeviceRendition {
 public:
  virtual ~ICaptureDeviceRendition() = default;

  virtual void setLogger(ILogger* logger) = 0;  ///< borrowed
  virtual uint64_t getFlags() = 0;
  virtual void setFlags(uint64_t flags) = 0;
  virtual uint32_t getIndex() = 0;
  virtual void setIndex(uint32_t index) = 0;
  virtual uint32_t getId() = 0;
  virtual void setId(uint32_t id) = 0;
  virtual std::string getName() = 0;
  virtual void setName(const std::string& name) = 0;
  virtual uint32_t getVideoColorSpace() = 0;
  virtual void setVideoColorSpace(uint32_t colorSpace) = 0;
  virtual uint32_t getVideoFrameHeight() = 0;
  virtual void setVideoFrameHeight(uint32_t height) = 0;
  virtual double getVideoFrameRate() = 0;  ///< pictures per second
  virtual void setVideoFrameRate(double rate) = 0;
  virtual uint32_t getVideoFrameRateDen() = 0;
  virtual void setVideoFrameRateDen(uint32_t den) = 0;
  virtual uint32_t getVideoFrameRateEnum() = 0;
  virtual void setVideoFrameRateEnum(uint32_t rateEnum) = 0;
  virtual uint32_t getVideoFrameWidth() = 0;
  virtual void setVideoFrameWidth(uint32_t width) = 0;
  virtual uint8_t getVideo3D() = 0;
  virtual void setVideo3D(uint8_t is3D) = 0;
  virtual uint8_t getVideoProgressive() = 0;
  virtual void setVideoProgressive(uint8_t progressive) = 0;
  virtual uint8_t getVideoTopFieldFirst() = 0;
  virtual void setVideoTopFieldFirst(uint8_t topFieldFirst) = 0;
  virtual std::string getInfoJSON() = 0;
};

}  // namespace qvs
