#pragma once

// The functions of the vendor's libraries that are called here: name in the library, parameters, arguments. A row
// more is one more that `libcudawrapper.so` hands on.
// clang-format off
#define QVS_CUDA_DRIVER_FUNCTIONS(X)                                                                               \
  X(cuInit, (unsigned flags), (flags))                                                                             \
  X(cuDriverGetVersion, (int* version), (version))                                                                 \
  X(cuDeviceGetCount, (int* count), (count))                                                                       \
  X(cuDeviceGet, (CUdevice* device, int ordinal), (device, ordinal))                                               \
  X(cuDeviceGetName, (char* name, int length, CUdevice device), (name, length, device))                            \
  X(cuDeviceGetAttribute, (int* value, CUdevice_attribute attribute, CUdevice device), (value, attribute, device)) \
  X(cuDeviceTotalMem_v2, (size_t* bytes, CUdevice device), (bytes, device))                                        \
  X(cuDeviceComputeCapability, (int* major, int* minor, CUdevice device), (major, minor, device))                  \
  X(cuDevicePrimaryCtxRetain, (CUcontext* context, CUdevice device), (context, device))                            \
  X(cuDevicePrimaryCtxRelease_v2, (CUdevice device), (device))                                                     \
  X(cuCtxCreate_v2, (CUcontext* context, unsigned flags, CUdevice device), (context, flags, device))               \
  X(cuCtxDestroy_v2, (CUcontext context), (context))                                                               \
  X(cuCtxPushCurrent_v2, (CUcontext context), (context))                                                           \
  X(cuCtxPopCurrent_v2, (CUcontext* context), (context))                                                           \
  X(cuCtxGetCurrent, (CUcontext* context), (context))                                                              \
  X(cuCtxSynchronize, (), ())                                                                                      \
  X(cuMemAlloc_v2, (CUdeviceptr* pointer, size_t bytes), (pointer, bytes))                                         \
  X(cuMemAllocPitch_v2, (CUdeviceptr* pointer, size_t* pitch, size_t width, size_t height, unsigned element),      \
    (pointer, pitch, width, height, element))                                                                      \
  X(cuMemFree_v2, (CUdeviceptr pointer), (pointer))                                                                \
  X(cuMemAllocAsync, (CUdeviceptr* pointer, size_t bytes, CUstream stream), (pointer, bytes, stream))              \
  X(cuMemFreeAsync, (CUdeviceptr pointer, CUstream stream), (pointer, stream))                                     \
  X(cuMemAllocHost_v2, (void** pointer, size_t bytes), (pointer, bytes))                                           \
  X(cuMemFreeHost, (void* pointer), (pointer))                                                                     \
  X(cuMemcpyHtoD_v2, (CUdeviceptr to, const void* from, size_t bytes), (to, from, bytes))                          \
  X(cuMemcpyHtoDAsync_v2, (CUdeviceptr to, const void* from, size_t bytes, CUstream stream), (to, from, bytes, stream)) \
  X(cuMemcpyDtoH_v2, (void* to, CUdeviceptr from, size_t bytes), (to, from, bytes))                                \
  X(cuMemcpyDtoHAsync_v2, (void* to, CUdeviceptr from, size_t bytes, CUstream stream), (to, from, bytes, stream))  \
  X(cuMemcpyDtoD_v2, (CUdeviceptr to, CUdeviceptr from, size_t bytes), (to, from, bytes))                          \
  X(cuMemcpyDtoDAsync_v2, (CUdeviceptr to, CUdeviceptr from, size_t bytes, CUstream stream), (to, from, bytes, stream)) \
  X(cuMemcpy2D_v2, (const CUDA_MEMCPY2D* copy), (copy))                                                            \
  X(cuMemcpy2DAsync_v2, (const CUDA_MEMCPY2D* copy, CUstream stream), (copy, stream))                              \
  X(cuMemsetD8Async, (CUdeviceptr to, unsigned char value, size_t bytes, CUstream stream), (to, value, bytes, stream)) \
  X(cuStreamCreate, (CUstream* stream, unsigned flags), (stream, flags))                                           \
  X(cuStreamDestroy_v2, (CUstream stream), (stream))                                                               \
  X(cuStreamGetFlags, (CUstream stream, unsigned* flags), (stream, flags))                                         \
  X(cuStreamQuery, (CUstream stream), (stream))                                                                    \
  X(cuStreamSynchronize, (CUstream stream), (stream))                                                              \
  X(cuStreamWaitEvent, (CUstream stream, CUevent event, unsigned flags), (stream, event, flags))                   \
  X(cuEventCreate, (CUevent* event, unsigned flags), (event, flags))                                               \
  X(cuEventDestroy_v2, (CUevent event), (event))                                                                   \
  X(cuEventRecord, (CUevent event, CUstream stream), (event, stream))                                              \
  X(cuEventQuery, (CUevent event), (event))                                                                        \
  X(cuEventSynchronize, (CUevent event), (event))                                                                  \
  X(cuEventElapsedTime, (float* milliseconds, CUevent start, CUevent end), (milliseconds, start, end))             \
  X(cuModuleLoadData, (CUmodule* module, const void* image), (module, image))                                      \
  X(cuModuleUnload, (CUmodule module), (module))                                                                   \
  X(cuModuleGetFunction, (CUfunction* function, CUmodule module, const char* name), (function, module, name))      \
  X(cuModuleGetGlobal_v2, (CUdeviceptr* pointer, size_t* bytes, CUmodule module, const char* name),                \
    (pointer, bytes, module, name))                                                                                \
  X(cuLaunchKernel, (CUfunction function, unsigned gridX, unsigned gridY, unsigned gridZ, unsigned blockX,         \
                     unsigned blockY, unsigned blockZ, unsigned sharedBytes, CUstream stream, void** parameters,   \
                     void** extra),                                                                                \
    (function, gridX, gridY, gridZ, blockX, blockY, blockZ, sharedBytes, stream, parameters, extra))               \
  X(cuGetErrorName, (CUresult error, const char** text), (error, text))                                            \
  X(cuGetErrorString, (CUresult error, const char** text), (error, text))

#define QVS_NVCUVID_FUNCTIONS(X)                                                                                   \
  X(cuvidGetDecoderCaps, (CUVIDDECODECAPS* caps), (caps))                                                          \
  X(cuvidCreateDecoder, (CUvideodecoder* decoder, CUVIDDECODECREATEINFO* info), (decoder, info))                   \
  X(cuvidDestroyDecoder, (CUvideodecoder decoder), (decoder))                                                      \
  X(cuvidDecodePicture, (CUvideodecoder decoder, CUVIDPICPARAMS* picture), (decoder, picture))                     \
  X(cuvidGetDecodeStatus, (CUvideodecoder decoder, int index, CUVIDGETDECODESTATUS* status), (decoder, index, status)) \
  X(cuvidMapVideoFrame64, (CUvideodecoder decoder, int index, unsigned long long* pointer, unsigned* pitch,        \
                           CUVIDPROCPARAMS* parameters), (decoder, index, pointer, pitch, parameters))             \
  X(cuvidUnmapVideoFrame64, (CUvideodecoder decoder, unsigned long long pointer), (decoder, pointer))              \
  X(cuvidCreateVideoParser, (CUvideoparser* parser, CUVIDPARSERPARAMS* parameters), (parser, parameters))          \
  X(cuvidParseVideoData, (CUvideoparser parser, CUVIDSOURCEDATAPACKET* packet), (parser, packet))                  \
  X(cuvidDestroyVideoParser, (CUvideoparser parser), (parser))
// clang-format on
