// The start of a CUDA device, and what its users say where it fails.
#include "video/scaling/device/cuda/CudaBringUp.h"

#include <mutex>
#include <string>

#include "log/LogGlobalLogger.h"
#include "platform/Status.h"
#include "video/scaling/device/cuda/cudaCtxLock.h"
#include "video/scaling/device/cuda/NVidiaCUDAContextManager.h"

namespace qvs {

const CudaUser kCudaUserFrames{
    kLogContextVideoDecoder,
    {{
        {"VideoFrameBufferSet.initVideoScaleCUDA[{context}]: cuInit: Failure result:", -1},
        {"VideoFrameBufferSet.initVideoScaleCUDA[{context}]: cuDeviceGetCount: Failure result:", -2},
        {"VideoFrameBufferSet.initVideoScaleCUDA[{context}]: CUDA device not found.", -3},
        {"VideoFrameBufferSet.initVideoScaleCUDA[{context}]: cuDeviceGet: Failure result:", -4},
        {"VideoFrameBufferSet.initVideoScaleCUDA[{context}]: cuDeviceComputeCapability: Failure result:", -5},
        {"", -6},
        {"VideoFrameBufferSet.initVideoScaleCUDA[{context}]: acquireContext: Failed to acquire CUDA context",
         -7},
        {"VideoFrameBufferSet.initVideoScaleCUDA[{context}]: cuStreamCreate: Failure result:", -10},
        {"", -10},
    }}};

const CudaUser kCudaUserNvcuvid{
    kLogContextVideoDecoder,
    {{
        {"VideoDecoderGenericNVCUVID.initCuda[{context}]: cuInit: Failure result:", -1},
        {"VideoDecoderGenericNVCUVID.initCuda[{context}]: cuDeviceGetCount: Failure result:", -2},
        {"VideoDecoderGenericNVCUVID.initCuda[{context}]: CUDA device not found.", -3},
        {"VideoDecoderGenericNVCUVID.initCuda[{context}]: cuDeviceGet: Failure result:", -4},
        {"VideoDecoderGenericNVCUVID.initCuda[{context}]: cuDeviceComputeCapability: Failure result:", -5},
        {"VideoDecoderGenericNVCUVID.initCuda[{context}]: NVCUVID not available.", -6},
        {"VideoDecoderGenericNVCUVID.initCuda[{context}]: acquireContext: Failed to acquire CUDA context",
         -7},
        {"VideoDecoderGenericNVCUVID.initCuda[{context}]: cuStreamCreate[m_ReadbackSID]: Failure result:",
         -10},
        {"VideoDecoderGenericNVCUVID.initCuda[{context}]: cuStreamCreate[m_GetFrameSID]: Failure result:",
         -10},
    }}};

// Its prefixes are as whoever reads its lines expects them.
const CudaUser kCudaUserNvenc{
    kLogContextVideoEncoder,
    {{
        {"VideoEncoderH26XNVENC12Host.initCUDA[{context}]: Failure result:", -1},
        {"VideoEncoderH26XNVENC12Host.initCUDA[{context}]: Failure result:", -2},
        {"VideoEncoderH26XNVENC12Host.initCUDA[{context}]: CUDA device not found.", -3},
        {"VideoEncoderH26XNVENC12Host.initCUDA[{context}]: cuDeviceGet: Failure result:", -4},
        {"VideoEncoderH26XNVENC12Host.initCUDA[{context}]: cuDeviceComputeCapability: Failure result:", -5},
        {"VideoEncoderH26XNVENC12Host.initCUDA[{context}]: NVENC not available.", -6},
        {"VideoEncoderH26XNVENC12Host.initCuda[{context}]: acquireContext: Failed to acquire CUDA context",
         -7},
        {"VideoEncoderH26XNVENC.initCuda[{context}]: cuStreamCreate: Failure result:", -10},
        {"", -10},
    }}};

uint32_t CudaBringUp::openDevice(int32_t ordinal, CUdevice* device) const {
  CUresult code = cuInit(0);
  if (code != CUDA_SUCCESS) return failed(CudaStep::kInit, code);
  int count = 0;
  code = cuDeviceGetCount(&count);
  if (code != CUDA_SUCCESS) return failed(CudaStep::kCount, code);
  if (ordinal < 0 || ordinal >= count) return failed(CudaStep::kChoice);
  code = cuDeviceGet(device, ordinal);
  if (code != CUDA_SUCCESS) return failed(CudaStep::kDevice, code);
  int major = 0;
  int minor = 0;
  code = cuDeviceComputeCapability(&major, &minor, *device);
  return code != CUDA_SUCCESS ? failed(CudaStep::kCapability, code) : kSuccess;
}

uint32_t CudaBringUp::openContext(CUdevice device, int32_t ordinal,
                                  std::shared_ptr<CUctx_st>* context) const {
  const auto index = static_cast<uint32_t>(ordinal);
  *context = NVidiaCUDAContextManager::getInstance()->acquireContext(device, index);
  return *context ? kSuccess : failed(CudaStep::kContext);
}

uint32_t CudaBringUp::openStream(const std::shared_ptr<CUctx_st>& context,
                                 std::shared_ptr<CUstream_st>* stream, CudaStep step) const {
  cudaCtxLock current(context.get());
  const std::lock_guard hold(current);
  CUstream made = nullptr;
  const CUresult code = cuStreamCreate(&made, 0);
  if (code != CUDA_SUCCESS) {
    NVidiaCUDAContextManager::getInstance()->noteResult(context.get(), code);
    return failed(step, code);
  }
  *stream = {made, [context](CUstream ended) {
               cudaCtxLock again(context.get());
               const std::lock_guard ending(again);
               cuStreamDestroy(ended);
             }};
  return kSuccess;
}

uint32_t CudaBringUp::failed(CudaStep step) const {
  return report(step, {});
}

uint32_t CudaBringUp::failed(CudaStep step, CUresult code) const {
  return report(step, std::to_string(code));
}

uint32_t CudaBringUp::report(CudaStep step, const std::string& code) const {
  const CudaUser::Failure& failure = user.failures[static_cast<size_t>(step)];
  loggerOrGlobal(logger)->warn(user.context, 0, failure.text + code);
  return static_cast<uint32_t>(failure.result);
}

}  // namespace qvs
