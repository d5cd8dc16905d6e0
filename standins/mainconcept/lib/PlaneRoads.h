// Roads on the kernels for 8-bit planes: scaling plane by plane, RGB to 4:2:0, and both in turn.
#pragma once

#include "kernels/BgraTo420.h"
#include "kernels/PlaneScaler.h"
#include "PlanarPicture.h"
#include "Road.h"

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

/// Four-byte RGB to planar 4:2:0 of the same size, any matrix and range.
class RgbTo420Road : public Road {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  RgbOrder order_{};
  RgbToYuvMatrix matrix_{};
};

/// Scaling in planar 4:2:0, with a conversion of equal size before or after it. For pairs of which one side
/// is 8-bit 4:2:0 already, so that no more chroma is lost than the pair itself loses.
class Via420Road : public Road {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  RoadPtr first_;
  RoadPtr second_;
  PlanarPicture between_;
  ucc_frame_t middle_{};
};

}  // namespace qvs::ucc
