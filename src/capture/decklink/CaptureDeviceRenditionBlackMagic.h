#pragma once

#include <fmt/format.h>

#include "capture/CaptureDeviceRenditionBase.h"

namespace qvs {

/// A display mode of a card.
class CaptureDeviceRenditionBlackMagic final : public CaptureDeviceRenditionBase {
 public:
  uint32_t getFieldDominance() const { return fieldDominance; }
  void setFieldDominance(uint32_t value) { fieldDominance = value; }
  void setDisplayModeSupported(uint32_t value) { displayModeSupported = value; }
  void setHardwareFlags(uint64_t value) { hardwareFlags = value; }

 protected:
  std::string getFurtherJSON() override {
    return fmt::format(
        ",\"blackMagicInfo\":{{\"fieldDominance\":{},\"displayModeSupported\":{},\"hardwareFlags\":{}}}",
        fieldDominance, displayModeSupported, hardwareFlags);
  }

 private:
  uint32_t fieldDominance = 0;
  uint32_t displayModeSupported = 0;
  uint64_t hardwareFlags = 0;
};

}  // namespace qvs
