// Planar 4:2:0 to NV12 and back in host memory, over the overlap of two sizes.
#include "video/scaling/device/VideoFrameNV12Utils.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "frames/kernels/SemiPlanar.h"
#include "platform/Status.h"

namespace qvs {
namespace {

constexpr uint32_t kYV12 = 0x32315659;
constexpr uint32_t kI420 = 0x30323449;
constexpr uint32_t kIYUV = 0x56555949;
constexpr uint32_t kNV12 = 0x3231564E;

/// Index of the plane that holds U; the other chroma plane is 3 minus it.
int planeOfU(const mc_frame_t& planar) {
  return planar.four_cc == kI420 || planar.four_cc == kIYUV ? 1 : 2;
}

bool usable(const mc_frame_t* frame, int planes) {
  if (frame == nullptr) return false;
  for (int i = 0; i < planes; ++i) {
    if (frame->plane[i] == nullptr || frame->stride[i] <= 0) return false;
  }
  return true;
}

/// Whole strides, so that equal pictures take one copy; the last row only up to the columns, since the slack
/// behind it need not exist.
void copyLuma(const mc_frame_t& source, const mc_frame_t& target, size_t columns, size_t rows) {
  if (rows == 0) return;
  const uint8_t* from = source.plane[0];
  uint8_t* to = target.plane[0];
  const auto stride = static_cast<size_t>(std::min(source.stride[0], target.stride[0]));
  const size_t lastRow = std::min(columns, stride);
  if (source.stride[0] == target.stride[0] && source.width == target.width) {
    memcpy(to, from, stride * (rows - 1) + lastRow);
    return;
  }
  for (size_t row = 1; row < rows; ++row, from += source.stride[0], to += target.stride[0]) {
    memcpy(to, from, stride);
  }
  memcpy(to, from, lastRow);
}

/// What both pictures have.
struct Overlap {
  size_t columns;  // of luma
  size_t rows;
  size_t pairs;  // chroma samples of a row
  size_t chromaRows;
};

Overlap overlapOf(const mc_frame_t& planar, const mc_frame_t& semiPlanar) {
  Overlap overlap{};
  overlap.columns = std::min(planar.width, semiPlanar.width);
  overlap.rows = std::min(planar.height, semiPlanar.height);
  const ptrdiff_t room = std::min({planar.stride[1], planar.stride[2], semiPlanar.stride[1] / 2});
  const auto pairs = std::min(static_cast<ptrdiff_t>(overlap.columns / 2), room);
  overlap.pairs = pairs;
  overlap.chromaRows = overlap.rows / 2;
  // Planes without slack are one long row.
  if (planar.stride[1] == pairs && planar.stride[2] == pairs && semiPlanar.stride[1] == 2 * pairs) {
    overlap.pairs *= overlap.chromaRows;
    overlap.chromaRows = 1;
  }
  return overlap;
}

}  // namespace

uint32_t VideoFrameNV12Utils::copyYV12toNV12(const mc_frame_t* source, const mc_frame_t* target) {
  if (!usable(source, 3) || !usable(target, 2)) return kFailure;
  const Overlap overlap = overlapOf(*source, *target);
  copyLuma(*source, *target, overlap.columns, overlap.rows);
  const int u = planeOfU(*source);
  const int v = 3 - u;
  semiPlanarKernels(detectCpuLevel())
      .merge(source->plane[u], source->stride[u], source->plane[v], source->stride[v], target->plane[1],
             target->stride[1], overlap.pairs, overlap.chromaRows);
  return kSuccess;
}

uint32_t VideoFrameNV12Utils::copyNV12toYV12(const mc_frame_t* source, const mc_frame_t* target) {
  if (!usable(source, 2) || !usable(target, 3)) return kFailure;
  const Overlap overlap = overlapOf(*target, *source);
  copyLuma(*source, *target, overlap.columns, overlap.rows);
  const int u = planeOfU(*target);
  const int v = 3 - u;
  semiPlanarKernels(detectCpuLevel())
      .split(source->plane[1], source->stride[1], target->plane[u], target->stride[u], target->plane[v],
             target->stride[v], overlap.pairs, overlap.chromaRows);
  return kSuccess;
}

uint32_t VideoFrameNV12Utils::copyNV12toYV12(const uint8_t* y, const uint8_t* uv, int32_t stride,
                                             uint32_t width, uint32_t height, uint8_t* target,
                                             int32_t targetStride, uint32_t targetWidth,
                                             uint32_t targetHeight) {
  mc_frame_t from{};
  from.four_cc = kNV12;
  from.width = width;
  from.height = height;
  from.plane[0] = const_cast<uint8_t*>(y);  // only read
  from.plane[1] = const_cast<uint8_t*>(uv);
  from.stride[0] = from.stride[1] = stride;

  mc_frame_t to{};
  to.four_cc = kYV12;
  to.width = targetWidth;
  to.height = targetHeight;
  to.stride[0] = targetStride;
  to.stride[1] = to.stride[2] = targetStride / 2;
  if (target != nullptr && targetStride > 0) {
    const size_t luma = static_cast<size_t>(targetStride) * targetHeight;
    to.plane[0] = target;
    to.plane[1] = target + luma;
    to.plane[2] = target + luma * 5 / 4;
  }
  return copyNV12toYV12(&from, &to);
}

}  // namespace qvs
