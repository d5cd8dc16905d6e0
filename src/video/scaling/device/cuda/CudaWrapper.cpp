// What is asked of the CUDA driver before there is a device.
#include "video/scaling/device/cuda/CudaWrapper.h"

#include "cuda.h"
#include "platform/Status.h"

namespace qvs {

uint32_t cudaWrapperInit() {
  return cuInit(0) == CUDA_SUCCESS ? kSuccess : kFailure;
}

int32_t cudaWrapperDeviceCount() {
  int count = 0;
  return cudaWrapperInit() == kSuccess && cuDeviceGetCount(&count) == CUDA_SUCCESS ? count : 0;
}

}  // namespace qvs
