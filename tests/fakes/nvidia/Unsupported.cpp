// libcuda.so.1: names that clients look up and that no test here calls.
#include "Driver.h"

// clang-format off
#define QVS_UNSUPPORTED(X)                                                                               \
  X(cuArray3DCreate_v2)                                                                                  \
  X(cuArrayDestroy)                                                                                      \
  X(cuGLGetDevices_v2)                                                                                   \
  X(cuGraphicsGLRegisterImage) X(cuGraphicsMapResources) X(cuGraphicsResourceGetMappedPointer_v2)        \
      X(cuGraphicsSubResourceGetMappedArray) X(cuGraphicsUnmapResources) X(cuGraphicsUnregisterResource) \
          X(cuLinkAddData) X(cuLinkComplete) X(cuLinkCreate) X(cuLinkDestroy) X(cuMemAllocManaged)       \
              X(cuTexObjectCreate) X(cuTexObjectDestroy) X(cuDevicePrimaryCtxReset)

// clang-format on
#define QVS_DEFINE(name)             \
  QVS_API name() {                   \
    return CUDA_ERROR_NOT_SUPPORTED; \
  }
QVS_UNSUPPORTED(QVS_DEFINE)
