#pragma once

#include "capture/CaptureDeviceRenditionBase.h"

namespace qvs {

/// The one mode of a file device.
class CaptureDeviceRenditionFile final : public CaptureDeviceRenditionBase {};

}  // namespace qvs
