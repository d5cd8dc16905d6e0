// The JSON text of a rendition.
#include "capture/CaptureDeviceRenditionBase.h"

#include <fmt/format.h>

namespace qvs {

std::string CaptureDeviceRenditionBase::getInfoJSON() {
  return fmt::format(
      "{{\"id\":{},\"name\":\"{}\",\"flags\":{},\"videoFrameWidth\":{},\"videoFrameHeight\":{},"
      "\"videoFrameRate\":{:f},\"videoFrameRateEnum\":{},\"videoFrameRateDen\":{},\"videoColorSpace\":{},"
      "\"videoProgressive\":{},\"videoTopFieldFirst\":{},\"video3D\":{}{}}}",
      id, name.empty() ? "[null]" : name, flags, videoFrameWidth, videoFrameHeight, videoFrameRate,
      videoFrameRateEnum, videoFrameRateDen, videoColorSpace, videoProgressive != 0, videoTopFieldFirst != 0,
      video3D != 0, getFurtherJSON());
}

}  // namespace qvs
