#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/kernels/PlaneScaler.h"

namespace qvs::ucc {

/// 8-bit planar or two-plane YUV to the same format in another size or turned. Chroma scales by the ratio of
/// its own planes.
class PlaneScalePath : public ConversionPath {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  Task planned{};
  PlaneScaler luma;
  PlaneScaler chroma;
};

}  // namespace qvs::ucc
