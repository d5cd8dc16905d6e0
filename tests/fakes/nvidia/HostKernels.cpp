// libqvs-host-kernels.so: the host form of all kernels, for the emulated driver beside it.
#include "video/scaling/device/cuda/kernels/HostKernel.h"

extern "C" __attribute__((visibility("default"))) void qvsHostKernels(
    const std::vector<qvs::HostKernel>** kernels, const std::vector<qvs::HostConstant>** constants) {
  *kernels = &qvs::hostKernels();
  *constants = &qvs::hostConstants();
}
