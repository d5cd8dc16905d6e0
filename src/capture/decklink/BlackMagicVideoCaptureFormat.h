#pragma once

#include <DeckLinkAPI.h>

#include "capture/CaptureDeviceRecords.h"

namespace qvs {

/// What comes in on an input.
struct BlackMagicVideoCaptureFormat {
  int32_t renditionIndex = -1;
  uint32_t videoColorSpace = 0;
  uint32_t videoFrameWidth = 0;
  uint32_t videoFrameHeight = 0;
  uint32_t videoFrameRateEnum = 0;
  uint32_t videoFrameRateDen = 0;
  double videoFrameRate = 0;
  uint8_t videoProgressive = 0;
  uint8_t videoTopFieldFirst = 0;
  uint8_t video3D = 0;

  /// The format of a mode; its place among the device's renditions is left to the caller.
  static BlackMagicVideoCaptureFormat of(IDeckLinkDisplayMode& mode);
  void writeTo(CaptureSessionInfoData& info) const;
  bool operator==(const BlackMagicVideoCaptureFormat&) const = default;
};

}  // namespace qvs
