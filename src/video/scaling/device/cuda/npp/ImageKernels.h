#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "cuda.h"

namespace qvs {

/// Kernels of the module for pictures, in the order of their names.
enum class ImageKernel : uint8_t {
  kResizeC1,
  kResizeC4,
  kBgraTo420,
  kNv12To420,
  kCopyC4C1,
  kMulScale,
  kNot,
  kAdd,
  kDrawOverlay,
  kPlanarToNv12,
  kPlanarToBgra,
};
inline constexpr size_t kImageKernels = static_cast<size_t>(ImageKernel::kPlanarToBgra) + 1;

/// The module of kernels for pictures in one context. Loaded by the first call there, kept until the context ends.
class ImageKernels {
 public:
  /// Of this thread's current context; null where none is current or the driver refuses the module. Takes a lock only
  /// where the thread's last call was in another context.
  static const ImageKernels* ofCurrentContext();

  /// For whoever ends a context, before its end and with it current: the module goes too.
  static void release(CUcontext context);

  /// Queues a kernel with a thread for each of `width` x `height`, in the current context.
  template <typename... Arguments>
  static CUresult launch(ImageKernel kernel, CUstream stream, int width, int height, Arguments... arguments) {
    void* parameters[] = {&arguments...};
    return queue(kernel, stream, width, height, parameters);
  }

  ImageKernels(const ImageKernels&) = delete;
  ImageKernels& operator=(const ImageKernels&) = delete;
  ~ImageKernels();

 private:
  ImageKernels() = default;
  static std::unique_ptr<ImageKernels> load();
  static CUresult queue(ImageKernel kernel, CUstream stream, int width, int height, void** parameters);

  CUmodule module = nullptr;
  std::array<CUfunction, kImageKernels> functions{};
};

}  // namespace qvs
