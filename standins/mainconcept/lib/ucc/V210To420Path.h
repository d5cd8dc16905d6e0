#pragma once

#include "ucc/ConversionPath.h"

namespace qvs::ucc {

/// Packed 10-bit 4:2:2 to planar 4:2:0 of the same size and color.
class V210To420Path : public ConversionPath {
 public:
  bool prepare(const Task&) override { return true; }
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;
};

}  // namespace qvs::ucc
