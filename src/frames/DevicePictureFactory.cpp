// Which kind of device picture a pool's frames have.
#include "frames/DevicePictureFactory.h"

#include "contract/ScaleIds.h"
#include "frames/DevicePictureCUDA.h"
#include "frames/VideoScaleSetData.h"

namespace qvs {

std::unique_ptr<DevicePicture> makeDevicePicture(const std::shared_ptr<VideoScaleSetData>& pool) {
  const bool onCuda = pool && pool->implementation == kScaleCUDA && pool->cuda.m_Context;
  return onCuda ? std::make_unique<DevicePictureCUDA>(pool->cuda) : nullptr;
}

}  // namespace qvs
