#pragma once

#include <cstdint>
#include <memory>

#include "capture/ICaptureDevice.h"

namespace qvs {

/// Where a kind of device enters those that it finds.
class ICaptureDeviceRegistry {
 public:
  virtual ~ICaptureDeviceRegistry() = default;

  /// Gives the device its id: its place in the order of adding.
  virtual uint32_t addDevice(std::unique_ptr<ICaptureDevice> device) = 0;
  /// Empty where it isn't set.
  virtual const char* getPath(uint32_t index) const = 0;
  virtual ILogger* getLogger() const = 0;  ///< may be null
};

}  // namespace qvs
