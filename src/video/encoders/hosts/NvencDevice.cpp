// What an encoder has of a card: the context that all share, and a stream of its own.
#include "video/encoders/hosts/NvencDevice.h"

#include "contract/StageIds.h"
#include "platform/Status.h"
#include "video/scaling/device/cuda/CudaBringUp.h"

namespace qvs {
namespace {

// Cards beyond these encode the codec.
constexpr uint32_t kOldestH264 = 47;
constexpr uint32_t kOldestH265 = 81;

bool encodes(uint32_t codec, CUdevice device) {
  int major = 0, minor = 0;
  if (cuDeviceComputeCapability(&major, &minor, device) != CUDA_SUCCESS) return false;
  const auto capability = (static_cast<uint32_t>(major) << 4) + static_cast<uint32_t>(minor);
  return capability > (codec == kVideoCodecH265 ? kOldestH265 : kOldestH264);
}

}  // namespace

std::shared_ptr<NvencDevice> NvencDevice::open(uint32_t codec, int32_t ordinal, ILogger* logger,
                                               uint32_t* result) {
  const CudaBringUp bringUp(kCudaUserNvenc, logger);
  CUdevice device = 0;
  *result = bringUp.openDevice(ordinal, &device);
  if (*result != kSuccess) return nullptr;
  if (!encodes(codec, device)) {
    *result = bringUp.failed(CudaStep::kAvailability);
    return nullptr;
  }
  auto made = std::make_shared<NvencDevice>();
  made->deviceId = static_cast<uint32_t>(ordinal);
  *result = bringUp.openContext(device, ordinal, &made->context);
  if (*result == kSuccess) *result = bringUp.openStream(made->context, &made->stream);
  return *result == kSuccess ? made : nullptr;
}

}  // namespace qvs
