// The ordered table of conversion strategies and the choice of the first that fits.
#include "ucc/RoadTable.h"

#include <new>

#include "ucc/CopyRoad.h"
#include "ucc/GraphRoad.h"
#include "ucc/KernelRoad.h"
#include "ucc/PlaneScaleRoad.h"
#include "ucc/RepackRoad.h"
#include "ucc/RgbTo420Road.h"
#include "ucc/Via420Road.h"

namespace qvs::ucc {
namespace {

// What a row asks of a task beyond its formats. Kernels that take (size + 1) / 2 chroma samples need even
// sizes.
enum Needs : uint32_t {
  kSameSize = 1,
  kSameColour = 2,
  kSameForm = 4,
  kEvenSource = 8,  ///< both width and height
  kEvenTarget = 16,
  kEvenWidths = 32,
  kFullRangeRgb = 64,
  kLibyuvMatrix = 128,
  kSame = kSameSize | kSameColour,
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

struct RoadRow {
  uint32_t target;
  uint32_t source;
  uint32_t needs;
  Road* (*make)(const RoadRow& row);
  PictureKernel kernel = nullptr;  ///< of kernel roads
};

template <class R>
Road* makeRoad(const RoadRow&) {
  return new (std::nothrow) R;
}

Road* makeKernelRoad(const RoadRow& row) {
  return new (std::nothrow) KernelRoad(row.kernel);
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

// First fit wins: single pairs where a kernel beats the roads for any format, then those roads. Figures are
// by `build/release/bench/converter-bench` at 720p, scaled to 854 x 480: time over that of a copy of as many
// bytes (c), of the general road (g) and of swscale's bicubic (s), which nowhere came out ahead of what the
// row has.
constexpr RoadRow kRoads[] = {
    {kAsSource, kAny, kSame, makeRoad<CopyRoad>},

    // c 0.7 to 1.3, R565 2.1; g 0.03 to 0.16; s 0.02 to 0.18. Chroma is repeated, not interpolated.
    {UCC_FORMAT_BGRA, UCC_FORMAT_I420, kRgbFrom420, makeKernelRoad, k3toRgb<libyuv::I420ToARGBMatrix>},
    {UCC_FORMAT_BGR4, UCC_FORMAT_I420, kRgbFrom420, makeKernelRoad, k3toRgb<libyuv::I420ToARGBMatrix>},
    {UCC_FORMAT_BGR3, UCC_FORMAT_I420, kRgbFrom420, makeKernelRoad, k3toRgb<libyuv::I420ToRGB24Matrix>},
    {UCC_FORMAT_R565, UCC_FORMAT_I420, kRgbFrom420, makeKernelRoad, k3toRgb<libyuv::I420ToRGB565Matrix>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_I422, kRgbFrom422, makeKernelRoad, k3toRgb<libyuv::I422ToARGBMatrix>},
    {UCC_FORMAT_BGR4, UCC_FORMAT_I422, kRgbFrom422, makeKernelRoad, k3toRgb<libyuv::I422ToARGBMatrix>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_NV12, kRgbFrom420, makeKernelRoad, k2toRgb<libyuv::NV12ToARGBMatrix>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_NV21, kRgbFrom420, makeKernelRoad, k2toRgb<libyuv::NV21ToARGBMatrix>},
    {UCC_FORMAT_BGR3, UCC_FORMAT_NV12, kRgbFrom420, makeKernelRoad, k2toRgb<libyuv::NV12ToRGB24Matrix>},
    {UCC_FORMAT_BGR3, UCC_FORMAT_NV21, kRgbFrom420, makeKernelRoad, k2toRgb<libyuv::NV21ToRGB24Matrix>},

    // c 0.6 to 1.4; g 0.1 to 0.5; s 0.05 to 1.
    {UCC_FORMAT_I420, UCC_FORMAT_UYVY, kSame420, makeKernelRoad, k1to3<libyuv::UYVYToI420>},
    {UCC_FORMAT_I420, UCC_FORMAT_YUY2, kSame420, makeKernelRoad, k1to3<libyuv::YUY2ToI420>},
    {UCC_FORMAT_I422, UCC_FORMAT_UYVY, kSame422, makeKernelRoad, k1to3<libyuv::UYVYToI422>},
    {UCC_FORMAT_I422, UCC_FORMAT_YUY2, kSame422, makeKernelRoad, k1to3<libyuv::YUY2ToI422>},
    {UCC_FORMAT_UYVY, UCC_FORMAT_I420, kSame420, makeKernelRoad, k3to1<libyuv::I420ToUYVY>},
    {UCC_FORMAT_YUY2, UCC_FORMAT_I420, kSame420, makeKernelRoad, k3to1<libyuv::I420ToYUY2>},
    {UCC_FORMAT_UYVY, UCC_FORMAT_I422, kSame422, makeKernelRoad, k3to1<libyuv::I422ToUYVY>},
    {UCC_FORMAT_YUY2, UCC_FORMAT_I422, kSame422, makeKernelRoad, k3to1<libyuv::I422ToYUY2>},
    {UCC_FORMAT_I422, UCC_FORMAT_I420, kSame420, makeKernelRoad, k3to3<libyuv::I420ToI422>},
    {UCC_FORMAT_I420, UCC_FORMAT_I422, kSame420, makeKernelRoad, k3to3<libyuv::I422ToI420>},
    {UCC_FORMAT_NV12, UCC_FORMAT_I420, kSame420, makeKernelRoad, k3to2<libyuv::I420ToNV12>},
    {UCC_FORMAT_NV21, UCC_FORMAT_I420, kSame420, makeKernelRoad, k3to2<libyuv::I420ToNV21>},
    {UCC_FORMAT_I420, UCC_FORMAT_NV12, kSame420, makeKernelRoad, k2to3<libyuv::NV12ToI420>},
    {UCC_FORMAT_I420, UCC_FORMAT_NV21, kSame420, makeKernelRoad, k2to3<libyuv::NV21ToI420>},
    {UCC_FORMAT_NV12, UCC_FORMAT_NV21, kSame420, makeKernelRoad, k2to2<libyuv::NV21ToNV12>},
    {UCC_FORMAT_NV21, UCC_FORMAT_NV12, kSame420, makeKernelRoad, k2to2<libyuv::NV21ToNV12>},

    // c 0.7 to 0.9; g 0.4 to 0.5; s 0.3 to 0.7.
    {UCC_FORMAT_BGR3, UCC_FORMAT_BGRA, kSame, makeKernelRoad, k1to1<libyuv::ARGBToRGB24>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_BGR3, kSame, makeKernelRoad, k1to1<libyuv::RGB24ToARGB>},
    {UCC_FORMAT_BGR4, UCC_FORMAT_BGR3, kSame, makeKernelRoad, k1to1<libyuv::RGB24ToARGB>},
    {UCC_FORMAT_ARGB, UCC_FORMAT_BGRA, kSame, makeKernelRoad, k1to1<libyuv::ARGBToBGRA>},
    {UCC_FORMAT_BGRA, UCC_FORMAT_ARGB, kSame, makeKernelRoad, k1to1<libyuv::BGRAToARGB>},
    {UCC_FORMAT_AYUV, UCC_FORMAT_VUYA, kSame, makeKernelRoad, k1to1<libyuv::ARGBToBGRA>},
    {UCC_FORMAT_VUYA, UCC_FORMAT_AYUV, kSame, makeKernelRoad, k1to1<libyuv::BGRAToARGB>},

    // c 1.4 to 1.9; g 0.05; s 0.03.
    {UCC_FORMAT_I420, UCC_FORMAT_BGRA, kFromRgb, makeRoad<RgbTo420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_BGR4, kFromRgb, makeRoad<RgbTo420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_ARGB, kFromRgb, makeRoad<RgbTo420Road>},

    // g 0.8, 0.5 of a zimg graph; s 0.27.
    {UCC_FORMAT_I420, UCC_FORMAT_I420, kSameColour, makeRoad<PlaneScaleRoad>},
    {UCC_FORMAT_I422, UCC_FORMAT_I422, kSameColour, makeRoad<PlaneScaleRoad>},
    {UCC_FORMAT_NV12, UCC_FORMAT_NV12, kSameColour, makeRoad<PlaneScaleRoad>},
    {UCC_FORMAT_NV21, UCC_FORMAT_NV21, kSameColour, makeRoad<PlaneScaleRoad>},
    // g 0.3, from RGB 0.08, NV12 0.95; s 0.23 to 0.34, from RGB 0.04.
    {UCC_FORMAT_BGRA, UCC_FORMAT_I420, kRgbFromScaled, makeRoad<Via420Road>},
    {UCC_FORMAT_BGR4, UCC_FORMAT_I420, kRgbFromScaled, makeRoad<Via420Road>},
    {UCC_FORMAT_BGR3, UCC_FORMAT_I420, kRgbFromScaled, makeRoad<Via420Road>},
    {UCC_FORMAT_NV12, UCC_FORMAT_I420, kSameColour | kEvenTarget, makeRoad<Via420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_NV12, kSameColour | kEvenSource, makeRoad<Via420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_NV21, kSameColour | kEvenSource, makeRoad<Via420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_UYVY, kSameColour | kEvenSource, makeRoad<Via420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_YUY2, kSameColour | kEvenSource, makeRoad<Via420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_I422, kSameColour | kEvenSource, makeRoad<Via420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_BGRA, kFullRangeRgb, makeRoad<Via420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_BGR4, kFullRangeRgb, makeRoad<Via420Road>},
    {UCC_FORMAT_I420, UCC_FORMAT_ARGB, kFullRangeRgb, makeRoad<Via420Road>},

    {kAny, kAny, kSame | kSameForm, makeRoad<RepackRoad>},
    {kAny, kAny, 0, makeRoad<GraphRoad>},
};

bool formatsFit(const RoadRow& row, const Task& task) {
  if (row.target == kAsSource) return task.target == task.source;
  return (row.source == kAny || row.source == task.source->id) &&
         (row.target == kAny || row.target == task.target->id);
}

// Which needs the task meets; a row fits when none of its own are left over.
uint32_t qualitiesOf(const Task& task) {
  const Colour& rgb = task.fromYuv() ? task.targetColour : task.sourceColour;
  uint32_t qualities = 0;
  if (task.sameSize()) qualities |= kSameSize;
  if (task.sameColour()) qualities |= kSameColour;
  if (task.source->form == task.target->form) qualities |= kSameForm;
  if (task.sourceWidth % 2 == 0 && task.sourceHeight % 2 == 0) qualities |= kEvenSource;
  if (task.targetWidth % 2 == 0 && task.targetHeight % 2 == 0) qualities |= kEvenTarget;
  if (task.sourceWidth % 2 == 0 && task.targetWidth % 2 == 0) qualities |= kEvenWidths;
  if (rgb.fullRange) qualities |= kFullRangeRgb;
  if (findLibyuvMatrix(task.yuvColour())) qualities |= kLibyuvMatrix;
  return qualities;
}

}  // namespace

RoadPtr chooseRoad(const Task& task) {
  const uint32_t qualities = qualitiesOf(task);
  for (const RoadRow& row : kRoads) {
    if ((row.needs & ~qualities) != 0 || !formatsFit(row, task)) continue;
    RoadPtr road(row.make(row));
    if (road && !road->prepare(task)) road.reset();
    return road;
  }
  return nullptr;
}

}  // namespace qvs::ucc
