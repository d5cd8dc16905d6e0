// The start of a CUDA device, and what its users say where it fails.
#include "video/scaling/device/cuda/CudaBringUp.h"

#include <string>

#include "log/LogGlobalLogger.h"
#include "platform/Status.h"

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
    }}};

// Its three prefixes are as whoever reads its lines expects them.
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
