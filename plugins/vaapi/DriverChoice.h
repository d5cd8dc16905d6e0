#pragma once

#include <va/va.h>

#include <cstdint>

#include "Outcome.h"
#include "VaapiSettings.h"
#include "VaCodec.h"

namespace qvs::vaapi {

/// What is used of a driver, and what it tells of itself.
struct DriverChoice {
  VAProfile profile = VAProfileNone;
  VAEntrypoint entrypoint = VAEntrypointEncSlice;
  uint32_t rateControl = VA_RC_NONE;
  uint32_t packed = 0;         ///< headers that it gets
  bool takesPacked = false;    ///< it knows of packed headers at all
  bool lowDelayB = false;      ///< it takes no P slices
  uint32_t qualityLevels = 0;  ///< 0: it has none
  uint32_t hevcFeatures = VA_ATTRIB_NOT_SUPPORTED;
  uint32_t hevcBlocks = VA_ATTRIB_NOT_SUPPORTED;
};

/// Finds profile, entry point, rate control and headers for a stream of this size. A failure says what is lacking.
Outcome chooseDriver(VADisplay display, const VaCodec& codec, const VaapiSettings& settings, uint32_t width,
                     uint32_t height, DriverChoice& choice);

}  // namespace qvs::vaapi
