// Which conversion path serves which pair of formats.
#include "ucc/ConversionPathTable.h"

#include <new>

#include "ucc/CopyPath.h"
#include "ucc/GraphPath.h"
#include "ucc/KernelPath.h"
#include "ucc/PlaneScalePath.h"
#include "ucc/RepackPath.h"
#include "ucc/RgbTo420Path.h"
#include "ucc/V210To420Path.h"
#include "ucc/Via420Path.h"

namespace qvs::ucc {
namespace {

// What a row asks of a task beyond its formats. Kernels that take (size + 1) / 2 chroma samples need even
// sizes.
enum Needs : uint32_t {
  kSameSize = 1,
  kSameColor = 2,
  kSameForm = 4,
  kEvenSource = 8,  ///< both width and height
  kEvenTarget = 16,
  kEvenWidths = 32,
  kFullRangeRgb = 64,
  kLibyuvMatrix = 128,
  kSame = kSameSize | kSameColor,
  kSame422 = kSame | kEvenWidths,
  kSame420 = kSame | kEvenSource,
  kFromRgb = kSameSize | kFullRangeRgb,
  kToRgb = kFullRangeRgb | kLibyuvMatrix,
  kRgbFrom422 = kSameSize | kToRgb | kEvenWidths,
  kRgbFrom420 = kSameSize | kToRgb | kEvenSource,
  kRgbFromScaled = kToRgb | kEvenTarget,
};

// Serves as the row's source or target where the format doesn't matter.
constexpr uint32_t kAny = UCC_FORMAT_UNKNOWN;
// Only a target of the very same format.
constexpr uint32_t kAsSource = ~0u;

struct PathRow {
  uint32_t target;
  uint32_t source;
  uint32_t needs;
  ConversionPath* (*make)(const PathRow& row);
  PictureKernel kernel = nullptr;  ///< of kernel paths
};

template <class R>
ConversionPath* makePath(const PathRow&) {
  return new (std::nothrow) R;
}

ConversionPath* makeKernelPath(const PathRow& row) {
  return new (std::nothrow) KernelPath(row.kernel);
}

ConversionPath* makeVia420Path(const PathRow&) {
  return new (std::nothrow) Via420Path(choosePath);
}

// Short names for the adaptors: planes of the source, planes of the target.
template <auto F>
constexpr PictureKernel k1to1 = libyuvKernel<F, 1, 1>;
template <auto F>
constexpr PictureKernel k1to3 = libyuvKernel<F, 1, 3>;
template <auto F>
constexpr PictureKernel k3to1 = libyuvKernel<F, 3, 1>;
template <auto F>
constexpr PictureKernel k3to2 = libyuvKernel<F, 3, 2>;
template <auto F>
constexpr PictureKernel k2to3 = libyuvKernel<F, 2, 3>;
template <auto F>
constexpr PictureKernel k2to2 = libyuvKernel<F, 2, 2>;
template <auto F>
constexpr PictureKernel k3to3 = libyuvKernel<F, 3, 3>;
template <auto F>
constexpr PictureKernel k3toRgb = libyuvMatrixKernel<F, 3>;
template <auto F>
constexpr PictureKernel k2toRgb = libyuvMatrixKernel<F, 2>;

// First fit wins: single pairs where a kernel beats the paths for any format, then those paths. Figures are
// by `build/release/bench/converter-bench` at 720p, scaled to 854 x 480: time over that of a copy of as many
// bytes (c), of the general path (g) and of swscale's bicubic (s), which nowhere came out ahead of what the
// row has.
constexpr PathRow kPaths[] = {
    {kAsSource, kAny, kSame, makePath<CopyPath>},

    // c 0.7 to 1.3, R565 2.1; g 0.03 to 0.16; s 0.02 to 0.18. Chroma is repeated, not interpolated.
    {UCC_FORMAT_BGRA, UCC_FORMAT_I420, kRgbFrom420, makeKernelPath, k3toRgb<libyuv::I420ToARGBMatrix>},
    {UCC_FORMAT_BGR4, UCC_FORMAT_I420, kRgbFrom420, makeKernelPath, k3toRgb<libyuv::I420ToARGBMatrix>},
    {UCC_FORMAT_BGR3, UCC_FORMAT_I420, kRgbFrom420, makeKernelPath, k3toRgb<libyuv::I420ToRGB24Matrix>},
    {UCC_FORMAT_R565, UCC_FORMAT_I420, kRgbFrom420, makeKernelPath, k3toRgb<libyuv::I420ToRGB565Matrix>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_I422, kRgbFrom422, makeKernelPath, k3toRgb<libyuv::I422ToARGBMatrix>},
    {UCC_FORMAT_BGR4, UCC_FORMAT_I422, kRgbFrom422, makeKernelPath, k3toRgb<libyuv::I422ToARGBMatrix>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_NV12, kRgbFrom420, makeKernelPath, k2toRgb<libyuv::NV12ToARGBMatrix>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_NV21, kRgbFrom420, makeKernelPath, k2toRgb<libyuv::NV21ToARGBMatrix>},
    {UCC_FORMAT_BGR3, UCC_FORMAT_NV12, kRgbFrom420, makeKernelPath, k2toRgb<libyuv::NV12ToRGB24Matrix>},
    {UCC_FORMAT_BGR3, UCC_FORMAT_NV21, kRgbFrom420, makeKernelPath, k2toRgb<libyuv::NV21ToRGB24Matrix>},

    // c 0.6 to 1.4; g 0.1 to 0.5; s 0.05 to 1.
    {UCC_FORMAT_I420, UCC_FORMAT_UYVY, kSame420, makeKernelPath, k1to3<libyuv::UYVYToI420>},
    {UCC_FORMAT_I420, UCC_FORMAT_YUY2, kSame420, makeKernelPath, k1to3<libyuv::YUY2ToI420>},
    {UCC_FORMAT_I422, UCC_FORMAT_UYVY, kSame422, makeKernelPath, k1to3<libyuv::UYVYToI422>},
    {UCC_FORMAT_I422, UCC_FORMAT_YUY2, kSame422, makeKernelPath, k1to3<libyuv::YUY2ToI422>},
    {UCC_FORMAT_UYVY, UCC_FORMAT_I420, kSame420, makeKernelPath, k3to1<libyuv::I420ToUYVY>},
    {UCC_FORMAT_YUY2, UCC_FORMAT_I420, kSame420, makeKernelPath, k3to1<libyuv::I420ToYUY2>},
    {UCC_FORMAT_UYVY, UCC_FORMAT_I422, kSame422, makeKernelPath, k3to1<libyuv::I422ToUYVY>},
    {UCC_FORMAT_YUY2, UCC_FORMAT_I422, kSame422, makeKernelPath, k3to1<libyuv::I422ToYUY2>},
    {UCC_FORMAT_I422, UCC_FORMAT_I420, kSame420, makeKernelPath, k3to3<libyuv::I420ToI422>},
    {UCC_FORMAT_I420, UCC_FORMAT_I422, kSame420, makeKernelPath, k3to3<libyuv::I422ToI420>},
    {UCC_FORMAT_NV12, UCC_FORMAT_I420, kSame420, makeKernelPath, k3to2<libyuv::I420ToNV12>},
    {UCC_FORMAT_NV21, UCC_FORMAT_I420, kSame420, makeKernelPath, k3to2<libyuv::I420ToNV21>},
    {UCC_FORMAT_I420, UCC_FORMAT_NV12, kSame420, makeKernelPath, k2to3<libyuv::NV12ToI420>},
    {UCC_FORMAT_I420, UCC_FORMAT_NV21, kSame420, makeKernelPath, k2to3<libyuv::NV21ToI420>},
    {UCC_FORMAT_NV12, UCC_FORMAT_NV21, kSame420, makeKernelPath, k2to2<libyuv::NV21ToNV12>},
    {UCC_FORMAT_NV21, UCC_FORMAT_NV12, kSame420, makeKernelPath, k2to2<libyuv::NV21ToNV12>},

    // c 0.7 to 0.9; g 0.4 to 0.5; s 0.3 to 0.7.
    {UCC_FORMAT_BGR3, UCC_FORMAT_BGRA, kSame, makeKernelPath, k1to1<libyuv::ARGBToRGB24>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_BGR3, kSame, makeKernelPath, k1to1<libyuv::RGB24ToARGB>},
    {UCC_FORMAT_BGR4, UCC_FORMAT_BGR3, kSame, makeKernelPath, k1to1<libyuv::RGB24ToARGB>},
    {UCC_FORMAT_ARGB, UCC_FORMAT_BGRA, kSame, makeKernelPath, k1to1<libyuv::ARGBToBGRA>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_ARGB, kSame, makeKernelPath, k1to1<libyuv::BGRAToARGB>},
    {UCC_FORMAT_AYUV, UCC_FORMAT_VUYA, kSame, makeKernelPath, k1to1<libyuv::ARGBToBGRA>},
    {UCC_FORMAT_VUYA, UCC_FORMAT_AYUV, kSame, makeKernelPath, k1to1<libyuv::BGRAToARGB>},

    // c 1.4 to 1.9; g 0.05; s 0.03.
    {UCC_FORMAT_I420, UCC_FORMAT_BGRA, kFromRgb, makePath<RgbTo420Path>},
    {UCC_FORMAT_I420, UCC_FORMAT_BGR4, kFromRgb, makePath<RgbTo420Path>},
    {UCC_FORMAT_I420, UCC_FORMAT_ARGB, kFromRgb, makePath<RgbTo420Path>},

    // c 1.0.
    {UCC_FORMAT_I420, UCC_FORMAT_V210, kSame420, makePath<V210To420Path>},

    // g 0.8, 0.5 of a zimg graph; s 0.27.
    {UCC_FORMAT_I420, UCC_FORMAT_I420, kSameColor, makePath<PlaneScalePath>},
    {UCC_FORMAT_I422, UCC_FORMAT_I422, kSameColor, makePath<PlaneScalePath>},
    {UCC_FORMAT_NV12, UCC_FORMAT_NV12, kSameColor, makePath<PlaneScalePath>},
    {UCC_FORMAT_NV21, UCC_FORMAT_NV21, kSameColor, makePath<PlaneScalePath>},
    // g 0.3, from RGB 0.08, NV12 0.95; s 0.23 to 0.34, from RGB 0.04.
    {UCC_FORMAT_BGRA, UCC_FORMAT_I420, kRgbFromScaled, makeVia420Path},
    {UCC_FORMAT_BGR4, UCC_FORMAT_I420, kRgbFromScaled, makeVia420Path},
    {UCC_FORMAT_BGR3, UCC_FORMAT_I420, kRgbFromScaled, makeVia420Path},
    {UCC_FORMAT_NV12, UCC_FORMAT_I420, kSameColor | kEvenTarget, makeVia420Path},
    {UCC_FORMAT_I420, UCC_FORMAT_NV12, kSameColor | kEvenSource, makeVia420Path},
    {UCC_FORMAT_I420, UCC_FORMAT_NV21, kSameColor | kEvenSource, makeVia420Path},
    {UCC_FORMAT_I420, UCC_FORMAT_UYVY, kSameColor | kEvenSource, makeVia420Path},
    {UCC_FORMAT_I420, UCC_FORMAT_YUY2, kSameColor | kEvenSource, makeVia420Path},
    {UCC_FORMAT_I420, UCC_FORMAT_I422, kSameColor | kEvenSource, makeVia420Path},
    {UCC_FORMAT_I420, UCC_FORMAT_BGRA, kFullRangeRgb, makeVia420Path},
    {UCC_FORMAT_I420, UCC_FORMAT_BGR4, kFullRangeRgb, makeVia420Path},
    {UCC_FORMAT_I420, UCC_FORMAT_ARGB, kFullRangeRgb, makeVia420Path},

    {kAny, kAny, kSame | kSameForm, makePath<RepackPath>},
    {kAny, kAny, 0, makePath<GraphPath>},
};

bool formatsFit(const PathRow& row, const Task& task) {
  if (row.target == kAsSource) return task.target == task.source;
  return (row.source == kAny || row.source == task.source->id) &&
         (row.target == kAny || row.target == task.target->id);
}

// Which needs the task meets; a row fits when none of its own are left over.
uint32_t qualitiesOf(const Task& task) {
  const Color& rgb = task.fromYuv() ? task.targetColor : task.sourceColor;
  uint32_t qualities = 0;
  if (task.sameSize()) qualities |= kSameSize;
  if (task.sameColor()) qualities |= kSameColor;
  if (task.source->form == task.target->form) qualities |= kSameForm;
  if (task.sourceWidth % 2 == 0 && task.sourceHeight % 2 == 0) qualities |= kEvenSource;
  if (task.targetWidth % 2 == 0 && task.targetHeight % 2 == 0) qualities |= kEvenTarget;
  if (task.sourceWidth % 2 == 0 && task.targetWidth % 2 == 0) qualities |= kEvenWidths;
  if (rgb.fullRange) qualities |= kFullRangeRgb;
  if (findLibyuvMatrix(task.yuvColor())) qualities |= kLibyuvMatrix;
  return qualities;
}

}  // namespace

ConversionPathPtr choosePath(const Task& task) {
  const uint32_t qualities = qualitiesOf(task);
  for (const PathRow& row : kPaths) {
    if ((row.needs & ~qualities) != 0 || !formatsFit(row, task)) continue;
    ConversionPathPtr path(row.make(row));
    if (path && !path->prepare(task)) path.reset();
    return path;
  }
  return nullptr;
}

}  // namespace qvs::ucc
