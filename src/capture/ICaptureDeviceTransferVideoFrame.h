#pragma once

#include <cstdint>

namespace qvs {

class ICaptureDevice;
class ILogger;
struct CaptureUtilsFrameTranslationInfo;

/// What is known of the captured pictures that are on their way to a frame of the system. Pointers are borrowed.
class ICaptureDeviceTransferVideoFrame {
 public:
  virtual ~ICaptureDeviceTransferVideoFrame() = default;

  virtual void setLogger(ILogger* value) = 0;
  virtual ILogger* getLogger() = 0;
  virtual ICaptureDevice* getCaptureDevice() = 0;
  virtual void getCaptureDevice(ICaptureDevice* value) = 0;  ///< sets it, whatever its name says
  virtual uint32_t getFrameWidth() = 0;
  virtual void setFrameWidth(uint32_t value) = 0;
  virtual uint32_t getFrameHeight() = 0;
  virtual void setFrameHeight(uint32_t value) = 0;
  virtual uint32_t getFrameStride() = 0;  ///< bytes
  virtual void setFrameStride(uint32_t value) = 0;
  virtual uint32_t getPixelFormat() = 0;
  virtual void setPixelFormat(uint32_t value) = 0;
  virtual uint8_t getVideoProgressive() = 0;
  virtual void setVideoProgressive(uint8_t value) = 0;
  virtual uint8_t getVideoTopFieldFirst() = 0;
  virtual void setVideoTopFieldFirst(uint8_t value) = 0;
  virtual const CaptureUtilsFrameTranslationInfo& getFrameTranslationInfo() = 0;
  virtual void setFrameTranslationInfo(const CaptureUtilsFrameTranslationInfo& value) = 0;
};

}  // namespace qvs
