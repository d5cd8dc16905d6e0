#pragma once

// The few calls of the CUDA runtime that are made here, over the driver's: they work in the calling thread's current
// context.

#include "cuda.h"

typedef CUstream cudaStream_t;

/// As the driver's results.
enum cudaError_t { cudaSuccess = 0, cudaErrorUnknown = 999 };

enum cudaDeviceAttr { cudaDevAttrMemoryPoolsSupported = 115 };

extern "C" cudaError_t cudaDeviceGetAttribute(int* value, cudaDeviceAttr attribute, int device);
extern "C" cudaError_t cudaMallocAsync(void** pointer, size_t bytes, cudaStream_t stream);
extern "C" cudaError_t cudaFreeAsync(void* pointer, cudaStream_t stream);
