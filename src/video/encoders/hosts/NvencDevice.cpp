// What an encoder has of a card: the context that all share, and a stream of its own.
#include "video/encoders/hosts/NvencDevice.h"

#include <fmt/format.h>

#include <mutex>

#include "contract/StageIds.h"
#include "platform/Status.h"
#include "video/scaling/device/cuda/CudaBringUp.h"
#include "video/scaling/device/cuda/cudaCtxLock.h"
#include "video/scaling/device/cuda/NVidiaCUDAContextManager.h"

namespace qvs {
namespace {

// Cards beyond these encode the codec.
constexpr uint32_t kOldestH264 = 47;
constexpr uint32_t kOldestH265 = 81;
constexpr uint32_t kNoStream = static_cast<uint32_t>(-8);

bool encodes(uint32_t codec, CUdevice device) {
  int major = 0, minor = 0;
  if (cuDeviceComputeCapability(&major, &minor, device) != CUDA_SUCCESS) return false;
  const auto capability = (static_cast<uint32_t>(major) << 4) + static_cast<uint32_t>(minor);
  return capability > (codec == kVideoCodecH265 ? kOldestH265 : kOldestH264);
}

}  // namespace

NvencDevice::~NvencDevice() {
  if (stream == nullptr) return;
  cudaCtxLock ctxLock(context.get());
  const std::lock_guard scope(ctxLock);
  cuStreamDestroy(stream);
}

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
  const auto index = static_cast<uint32_t>(ordinal);
  auto context = NVidiaCUDAContextManager::getInstance()->acquireContext(device, index);
  if (!context) {
    *result = bringUp.failed(CudaStep::kContext);
    return nullptr;
  }
  auto made = std::make_shared<NvencDevice>(std::move(context), index);
  cudaCtxLock ctxLock(made->context.get());
  const std::lock_guard scope(ctxLock);
  const CUresult code = cuStreamCreate(&made->stream, 0);
  if (code == CUDA_SUCCESS) return made;
  made->stream = nullptr;
  NVidiaCUDAContextManager::getInstance()->noteResult(made->context.get(), code);
  logger->warn(kLogContextVideoEncoder, 0,
               fmt::format("VideoEncoderH26XNVENC.initCuda[{{context}}]: cuStreamCreate: Failure result:{}",
                           static_cast<int>(code)));
  *result = kNoStream;
  return nullptr;
}

}  // namespace qvs
