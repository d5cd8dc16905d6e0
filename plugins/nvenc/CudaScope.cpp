// A card's context: kept, and made current.
#include "CudaScope.h"

#include <ffnvcodec/dynlink_loader.h>

namespace qvs::nvenc {

CUresult CudaHome::retain(const NvencDriver& driver, int card) {
  release();
  CUresult code = driver.cuda->cuDeviceGet(&device, card);
  if (code == CUDA_SUCCESS) code = driver.cuda->cuDevicePrimaryCtxRetain(&handle, device);
  if (code == CUDA_SUCCESS) retainedFrom = &driver;
  return code;
}

void CudaHome::release() {
  if (retainedFrom != nullptr) retainedFrom->cuda->cuDevicePrimaryCtxRelease(device);
  retainedFrom = nullptr;
  handle = nullptr;
}

CudaScope::CudaScope(const NvencDriver& cudaDriver, CUcontext context)
    : driver(cudaDriver), pushed(cudaDriver.cuda->cuCtxPushCurrent(context)) {}

CudaScope::~CudaScope() {
  CUcontext popped = nullptr;
  if (pushed == CUDA_SUCCESS) driver.cuda->cuCtxPopCurrent(&popped);
}

}  // namespace qvs::nvenc
