#pragma once

#include <cstdint>

#include "platform/WithoutParameters.h"
#include "video/scaling/IVideoScaler.h"

namespace qvs {

/// What scaler objects share; the work is the derived class's.
class VideoScalerBase : public WithoutParameters<IVideoScaler> {
 public:
  uint32_t getScaler() override { return scaler; }
  void setScaler(uint32_t value) override { scaler = value; }
  uint32_t getScalerVersion() override { return scalerVersion; }
  void setScalerVersion(uint32_t value) override { scalerVersion = value; }
  void setScalerAndVersion(uint32_t scalerId, uint32_t version) override;
  uint32_t getImplementation() override { return implementation; }
  void setImplementation(uint32_t value) override { implementation = value; }
  void setFourcc(uint32_t value) override { fourcc = value; }
  void setBitDepth(uint32_t value) override { bitDepth = value; }
  void setLogger(ILogger* value) override { logger = value; }
  uint32_t getSessionIndex() override { return sessionIndex; }
  void setSessionIndex(uint32_t value) override { sessionIndex = value; }
  void setNativePath(char* nativePath) override;

  /// The logger given, or the process-wide one.
  ILogger* getLogger() const;

 protected:
  uint32_t scaler = 0xFFFFFFFFu;
  uint32_t scalerVersion = 0;
  uint32_t implementation = 0;
  uint32_t fourcc = 0;
  uint32_t bitDepth = 0;
  uint32_t sessionIndex = 0;
  ILogger* logger = nullptr;  ///< borrowed
};

}  // namespace qvs
