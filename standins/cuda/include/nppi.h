#pragma once

// The image functions of NPP as far as they are called here, by the vendor's names. They run on this system's own
// kernels. Steps are bytes from row to row; pointers are device memory.

#include "cuda.h"

typedef unsigned char Npp8u;

enum NppStatus {
  NPP_CUDA_KERNEL_EXECUTION_ERROR = -1000,
  NPP_WRONG_INTERSECTION_ROI_ERROR = -201,
  NPP_INTERPOLATION_ERROR = -22,
  NPP_RESIZE_FACTOR_ERROR = -23,
  NPP_STEP_ERROR = -14,
  NPP_NULL_POINTER_ERROR = -8,
  NPP_SIZE_ERROR = -6,
  NPP_SUCCESS = 0,
  NPP_NO_ERROR = NPP_SUCCESS,
};

enum NppiInterpolationMode { NPPI_INTER_NN = 1, NPPI_INTER_LINEAR = 2, NPPI_INTER_CUBIC = 4 };

struct NppiSize {
  int width;
  int height;
};

struct NppiRect {
  int x;
  int y;
  int width;
  int height;
};

struct NppStreamContext {
  CUstream hStream;
  int nCudaDeviceId;
  int nMultiProcessorCount;
  int nMaxThreadsPerMultiProcessor;
  int nMaxThreadsPerBlock;
  size_t nSharedMemPerBlock;
  int nCudaDevAttrComputeCapabilityMajor;
  int nCudaDevAttrComputeCapabilityMinor;
  unsigned int nStreamFlags;
  int nReserved0;
};

extern "C" {
Npp8u* nppiMalloc_8u_C1(int width, int height, int* step);
Npp8u* nppiMalloc_8u_C4(int width, int height, int* step);
void nppiFree(void* data);

NppStatus nppiResize_8u_C1R_Ctx(const Npp8u* source, int sourceStep, NppiSize sourceSize, NppiRect sourceRect,
                                Npp8u* target, int targetStep, NppiSize targetSize, NppiRect targetRect,
                                int interpolation, NppStreamContext context);
NppStatus nppiResize_8u_C4R_Ctx(const Npp8u* source, int sourceStep, NppiSize sourceSize, NppiRect sourceRect,
                                Npp8u* target, int targetStep, NppiSize targetSize, NppiRect targetRect,
                                int interpolation, NppStreamContext context);
NppStatus nppiBGRToYUV420_8u_AC4P3R_Ctx(const Npp8u* source, int sourceStep, Npp8u* target[3],
                                        int targetSteps[3], NppiSize size, NppStreamContext context);
NppStatus nppiNV12ToYUV420_8u_P2P3R_Ctx(const Npp8u* const source[2], int sourceStep, Npp8u* target[3],
                                        int targetSteps[3], NppiSize size, NppStreamContext context);
NppStatus nppiCopy_8u_C4C1R_Ctx(const Npp8u* source, int sourceStep, Npp8u* target, int targetStep,
                                NppiSize size, NppStreamContext context);
NppStatus nppiMulScale_8u_C1IR_Ctx(const Npp8u* source, int sourceStep, Npp8u* target, int targetStep,
                                   NppiSize size, NppStreamContext context);
NppStatus nppiNot_8u_C1IR_Ctx(Npp8u* target, int step, NppiSize size, NppStreamContext context);
NppStatus nppiAdd_8u_C1IRSfs_Ctx(const Npp8u* source, int sourceStep, Npp8u* target, int targetStep,
                                 NppiSize size, int scaleFactor, NppStreamContext context);
}
