#pragma once

// The CUDA driver API as far as it is called here, by the vendor's names. The functions are in `libcudawrapper.so`,
// which hands them on to the driver of the machine.

#include <ffnvcodec/dynlink_cuda.h>

#include "cuda_functions.h"

// What the types' header leaves out. All lie within the enumerations' ranges.
inline constexpr CUresult CUDA_ERROR_INVALID_VALUE = static_cast<CUresult>(1);
inline constexpr CUresult CUDA_ERROR_OUT_OF_MEMORY = static_cast<CUresult>(2);
inline constexpr CUresult CUDA_ERROR_NOT_INITIALIZED = static_cast<CUresult>(3);
inline constexpr CUresult CUDA_ERROR_NO_DEVICE = static_cast<CUresult>(100);
inline constexpr CUresult CUDA_ERROR_INVALID_DEVICE = static_cast<CUresult>(101);
inline constexpr CUresult CUDA_ERROR_INVALID_IMAGE = static_cast<CUresult>(200);
inline constexpr CUresult CUDA_ERROR_INVALID_CONTEXT = static_cast<CUresult>(201);
inline constexpr CUresult CUDA_ERROR_INVALID_HANDLE = static_cast<CUresult>(400);
inline constexpr CUresult CUDA_ERROR_NOT_FOUND = static_cast<CUresult>(500);
inline constexpr CUresult CUDA_ERROR_ILLEGAL_ADDRESS = static_cast<CUresult>(700);
inline constexpr CUresult CUDA_ERROR_NOT_SUPPORTED = static_cast<CUresult>(801);

inline constexpr CUdevice_attribute CU_DEVICE_ATTRIBUTE_MAX_THREADS_PER_BLOCK =
    static_cast<CUdevice_attribute>(1);
inline constexpr CUdevice_attribute CU_DEVICE_ATTRIBUTE_MAX_SHARED_MEMORY_PER_BLOCK =
    static_cast<CUdevice_attribute>(8);
inline constexpr CUdevice_attribute CU_DEVICE_ATTRIBUTE_MAX_THREADS_PER_MULTIPROCESSOR =
    static_cast<CUdevice_attribute>(39);
inline constexpr CUdevice_attribute CU_DEVICE_ATTRIBUTE_MEMORY_POOLS_SUPPORTED =
    static_cast<CUdevice_attribute>(115);

#define cuDeviceTotalMem cuDeviceTotalMem_v2
#define cuDevicePrimaryCtxRelease cuDevicePrimaryCtxRelease_v2
#define cuCtxCreate cuCtxCreate_v2
#define cuCtxDestroy cuCtxDestroy_v2
#define cuCtxPushCurrent cuCtxPushCurrent_v2
#define cuCtxPopCurrent cuCtxPopCurrent_v2
#define cuMemAlloc cuMemAlloc_v2
#define cuMemAllocPitch cuMemAllocPitch_v2
#define cuMemFree cuMemFree_v2
#define cuMemAllocHost cuMemAllocHost_v2
#define cuMemcpyHtoD cuMemcpyHtoD_v2
#define cuMemcpyHtoDAsync cuMemcpyHtoDAsync_v2
#define cuMemcpyDtoH cuMemcpyDtoH_v2
#define cuMemcpyDtoHAsync cuMemcpyDtoHAsync_v2
#define cuMemcpyDtoD cuMemcpyDtoD_v2
#define cuMemcpyDtoDAsync cuMemcpyDtoDAsync_v2
#define cuMemcpy2D cuMemcpy2D_v2
#define cuMemcpy2DAsync cuMemcpy2DAsync_v2
#define cuStreamDestroy cuStreamDestroy_v2
#define cuEventDestroy cuEventDestroy_v2
#define cuModuleGetGlobal cuModuleGetGlobal_v2

#define QVS_DECLARE(name, parameters, arguments) extern "C" CUresult name parameters;
QVS_CUDA_DRIVER_FUNCTIONS(QVS_DECLARE)
#undef QVS_DECLARE
