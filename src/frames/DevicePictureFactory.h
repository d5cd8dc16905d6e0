#pragma once

#include <memory>

#include "frames/DevicePicture.h"

namespace qvs {

struct VideoScaleSetData;

/// A picture, without storage, on the device of the pool whose data this is; null where the pool has none.
std::unique_ptr<DevicePicture> makeDevicePicture(const std::shared_ptr<VideoScaleSetData>& pool);

}  // namespace qvs
