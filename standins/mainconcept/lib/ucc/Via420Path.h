#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/PlanarPicture.h"

namespace qvs::ucc {

/// Scaling or turning in planar 4:2:0, with a conversion of equal size before or after it. For pairs of which
/// one side is 8-bit 4:2:0 already, so that no more chroma is lost than the pair itself loses.
class Via420Path : public ConversionPath {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  ConversionPathPtr first;
  ConversionPathPtr second;
  PlanarPicture between;
  ucc_frame_t middle{};
};

}  // namespace qvs::ucc
