#pragma once

#include "ucc/PlanarConversion.h"
#include "ucc/Road.h"

namespace qvs::ucc {

/// Everything: unpack to planes, one graph, pack.
class GraphRoad : public Road {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  const PixelFormat* format_ = nullptr;
  PlanarConversion conversion_;
};

}  // namespace qvs::ucc
