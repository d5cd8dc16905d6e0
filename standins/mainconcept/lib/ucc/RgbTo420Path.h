#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/kernels/BgraTo420.h"

namespace qvs::ucc {

/// Four-byte RGB to planar 4:2:0 of the same size, any matrix and range.
class RgbTo420Path : public ConversionPath {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  RgbOrder order{};
  RgbToYuvMatrix matrix{};
};

}  // namespace qvs::ucc
