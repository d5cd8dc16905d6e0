#pragma once

// One source, two forms. A file of kernels is compiled by clang to PTX for the card, and by the host's compiler for an
// emulated one, where a loop takes the place of the threads. What holds in both:
// - QVS_KERNEL(name, parameters...) { body } is an entry with C linkage; its name is the one to look up in the module.
// - QVS_X() and QVS_Y() say which thread this is; the grid is whole blocks, so each kernel checks its bounds.
// - No shared memory, no barriers, no order among threads. No headers but those of plain types.
// - Device pointers are parameters of their own, never inside a struct: the host form has to translate them. Null stays.
// - QVS_CONSTANT(type, name, count) is an array that the host sets by its name in the module.
// - QVS_DEVICE goes before each function that kernels call.
// Nothing is contracted to fused operations in either form, so that both give the same bits.

#ifdef __CUDA__

#define QVS_DEVICE static inline __attribute__((device))
#define QVS_KERNEL(name, ...) extern "C" __attribute__((global)) void name(__VA_ARGS__)
#define QVS_CONSTANT(type, name, count)       \
  extern "C" {                                \
  __attribute__((constant)) type name[count]; \
  }                                           \
  static_assert(count > 0)
#define QVS_THREAD(axis)                                                                      \
  static_cast<int>(__nvvm_read_ptx_sreg_ctaid_##axis() * __nvvm_read_ptx_sreg_ntid_##axis() + \
                   __nvvm_read_ptx_sreg_tid_##axis())
#define QVS_X() QVS_THREAD(x)
#define QVS_Y() QVS_THREAD(y)

#else

#include "video/scaling/device/cuda/kernels/HostKernel.h"

#define QVS_DEVICE static inline
#define QVS_KERNEL(name, ...)                                      \
  extern "C" void name(__VA_ARGS__);                               \
  static const ::qvs::HostKernelRegistration registrationOf##name( \
      ::qvs::HostKernelLaunch<&name>::describe(#name));            \
  extern "C" void name(__VA_ARGS__)
#define QVS_CONSTANT(type, name, count) \
  static type name[count];              \
  static const ::qvs::HostConstantRegistration registrationOf##name({#name, name, sizeof(name)})
#define QVS_X() ::qvs::hostThread.x
#define QVS_Y() ::qvs::hostThread.y

#endif
