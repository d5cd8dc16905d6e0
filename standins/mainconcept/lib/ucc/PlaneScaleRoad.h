#pragma once

#include "ucc/kernels/PlaneScaler.h"
#include "ucc/Road.h"

namespace qvs::ucc {

/// 8-bit planar or two-plane YUV to the same format in another size. Chroma scales by the ratio of its own
/// planes.
class PlaneScaleRoad : public Road {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  Task task_{};
  PlaneScaler luma_;
  PlaneScaler chroma_;
};

}  // namespace qvs::ucc
