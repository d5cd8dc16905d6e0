// Image functions by NPP's names: arguments checked, then a kernel each.
//
// Where NPP's manual leaves a choice: the cubic is Catmull-Rom's (a = -0.5) over four by four samples, not widened
// where it shrinks, with the outer edges of both rectangles aligned and the source rectangle's own edge repeated.
// Products are scaled to the nearest. Pictures are BT.709 in full range, as this system's all are, where NPP's YUV
// would be BT.601; chroma is the mean of its four pixels.
#include "nppi.h"

#include "video/scaling/device/cuda/npp/ImageKernels.h"

namespace {

using Kernel = qvs::ImageKernel;

/// The cubic's positions are whole numbers of 32 bits.
constexpr int kMaxSide = 32767;

template <typename... Arguments>
NppStatus launch(Kernel kernel, const NppStreamContext& context, int width, int height,
                 Arguments... arguments) {
  const CUresult code = qvs::ImageKernels::launch(kernel, context.hStream, width, height, arguments...);
  return code == CUDA_SUCCESS ? NPP_SUCCESS : NPP_CUDA_KERNEL_EXECUTION_ERROR;
}

bool isSound(NppiSize size) {
  return size.width > 0 && size.height > 0 && size.width <= kMaxSide && size.height <= kMaxSide;
}

bool isInside(const NppiRect& rect, NppiSize size) {
  return rect.x >= 0 && rect.y >= 0 && rect.width > 0 && rect.height > 0 &&
         rect.width <= size.width - rect.x && rect.height <= size.height - rect.y;
}

template <typename... Pointers>
NppStatus check(NppiSize size, const Pointers*... pointers) {
  if (((pointers == nullptr) || ...)) return NPP_NULL_POINTER_ERROR;
  return isSound(size) ? NPP_SUCCESS : NPP_SIZE_ERROR;
}

template <typename Sample>
Sample* at(Sample* plane, int step, int x, int y, int bytes) {
  return plane + static_cast<ptrdiff_t>(y) * step + static_cast<ptrdiff_t>(x) * bytes;
}

NppStatus resize(Kernel kernel, int bytes, const Npp8u* source, int sourceStep, NppiSize sourceSize,
                 const NppiRect& from, Npp8u* target, int targetStep, NppiSize targetSize, const NppiRect& to,
                 int interpolation, const NppStreamContext& context) {
  if (source == nullptr || target == nullptr) return NPP_NULL_POINTER_ERROR;
  if (!isSound(sourceSize) || !isSound(targetSize)) return NPP_SIZE_ERROR;
  if (interpolation != NPPI_INTER_CUBIC) return NPP_INTERPOLATION_ERROR;
  if (!isInside(from, sourceSize) || !isInside(to, targetSize)) return NPP_WRONG_INTERSECTION_ROI_ERROR;
  return launch(kernel, context, to.width, to.height, at(source, sourceStep, from.x, from.y, bytes),
                sourceStep, from.width, from.height, at(target, targetStep, to.x, to.y, bytes), targetStep,
                to.width, to.height);
}

Npp8u* allocate(int width, int height, int bytes, int* step) {
  CUdeviceptr memory = 0;
  size_t pitch = 0;
  if (width <= 0 || height <= 0 || step == nullptr) return nullptr;
  const size_t rowBytes = static_cast<size_t>(width) * static_cast<size_t>(bytes);
  if (cuMemAllocPitch(&memory, &pitch, rowBytes, static_cast<size_t>(height), 4) != CUDA_SUCCESS)
    return nullptr;
  *step = static_cast<int>(pitch);
  return reinterpret_cast<Npp8u*>(memory);
}

}  // namespace

Npp8u* nppiMalloc_8u_C1(int width, int height, int* step) {
  return allocate(width, height, 1, step);
}

Npp8u* nppiMalloc_8u_C4(int width, int height, int* step) {
  return allocate(width, height, 4, step);
}

void nppiFree(void* data) {
  if (data != nullptr) cuMemFree(reinterpret_cast<CUdeviceptr>(data));
}

NppStatus nppiResize_8u_C1R_Ctx(const Npp8u* source, int sourceStep, NppiSize sourceSize, NppiRect sourceRect,
                                Npp8u* target, int targetStep, NppiSize targetSize, NppiRect targetRect,
                                int interpolation, NppStreamContext context) {
  return resize(Kernel::kResizeC1, 1, source, sourceStep, sourceSize, sourceRect, target, targetStep,
                targetSize, targetRect, interpolation, context);
}

NppStatus nppiResize_8u_C4R_Ctx(const Npp8u* source, int sourceStep, NppiSize sourceSize, NppiRect sourceRect,
                                Npp8u* target, int targetStep, NppiSize targetSize, NppiRect targetRect,
                                int interpolation, NppStreamContext context) {
  return resize(Kernel::kResizeC4, 4, source, sourceStep, sourceSize, sourceRect, target, targetStep,
                targetSize, targetRect, interpolation, context);
}

NppStatus nppiBGRToYUV420_8u_AC4P3R_Ctx(const Npp8u* source, int sourceStep, Npp8u* target[3],
                                        int targetSteps[3], NppiSize size, NppStreamContext context) {
  const NppStatus status = check(size, source, target[0], target[1], target[2]);
  if (status != NPP_SUCCESS) return status;
  return launch(Kernel::kBgraTo420, context, (size.width + 1) / 2, (size.height + 1) / 2, source, sourceStep,
                target[0], target[1], target[2], targetSteps[0], targetSteps[1], targetSteps[2], size.width,
                size.height);
}

NppStatus nppiNV12ToYUV420_8u_P2P3R_Ctx(const Npp8u* const source[2], int sourceStep, Npp8u* target[3],
                                        int targetSteps[3], NppiSize size, NppStreamContext context) {
  const NppStatus status = check(size, source[0], source[1], target[0], target[1], target[2]);
  if (status != NPP_SUCCESS) return status;
  return launch(Kernel::kNv12To420, context, (size.width + 1) / 2, (size.height + 1) / 2, source[0],
                source[1], sourceStep, sourceStep, target[0], target[1], target[2], targetSteps[0],
                targetSteps[1], targetSteps[2], size.width, size.height);
}

NppStatus nppiCopy_8u_C4C1R_Ctx(const Npp8u* source, int sourceStep, Npp8u* target, int targetStep,
                                NppiSize size, NppStreamContext context) {
  const NppStatus status = check(size, source, target);
  if (status != NPP_SUCCESS) return status;
  return launch(Kernel::kCopyC4C1, context, size.width, size.height, source, sourceStep, target, targetStep,
                size.width, size.height);
}

NppStatus nppiMulScale_8u_C1IR_Ctx(const Npp8u* source, int sourceStep, Npp8u* target, int targetStep,
                                   NppiSize size, NppStreamContext context) {
  const NppStatus status = check(size, source, target);
  if (status != NPP_SUCCESS) return status;
  return launch(Kernel::kMulScale, context, size.width, size.height, source, sourceStep, target, targetStep,
                size.width, size.height);
}

NppStatus nppiNot_8u_C1IR_Ctx(Npp8u* target, int step, NppiSize size, NppStreamContext context) {
  const NppStatus status = check(size, target);
  if (status != NPP_SUCCESS) return status;
  return launch(Kernel::kNot, context, size.width, size.height, target, step, size.width, size.height);
}

NppStatus nppiAdd_8u_C1IRSfs_Ctx(const Npp8u* source, int sourceStep, Npp8u* target, int targetStep,
                                 NppiSize size, int scaleFactor, NppStreamContext context) {
  const NppStatus status = check(size, source, target);
  if (status != NPP_SUCCESS) return status;
  return launch(Kernel::kAdd, context, size.width, size.height, source, sourceStep, target, targetStep,
                size.width, size.height, scaleFactor);
}
