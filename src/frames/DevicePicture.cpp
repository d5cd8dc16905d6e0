// Which kind of device picture a pool's frames have.
#include "frames/DevicePicture.h"

namespace qvs {

// No device gets a context in this build, so no pool has one.
std::unique_ptr<DevicePicture> makeDevicePicture(const std::shared_ptr<VideoScaleSetData>& /*pool*/) {
  return nullptr;
}

}  // namespace qvs
