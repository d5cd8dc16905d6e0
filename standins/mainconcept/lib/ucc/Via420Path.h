#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/PlanarPicture.h"

namespace qvs::ucc {

/// Scaling or turning in planar 4:2:0, with a conversion of equal size before or after it. For pairs of which
/// one side is 8-bit 4:2:0 already, so that no more chroma is lost than the pair itself loses. Each half is a path
/// that `choose` finds.
class Via420Path : public ConversionPath {
 public:
  using Choose = ConversionPathPtr (*)(const Task& task);
  explicit Via420Path(Choose choose) : choose(choose) {}
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  Choose choose;
  ConversionPathPtr first;
  ConversionPathPtr second;
  PlanarPicture between;
  ucc_frame_t middle{};
};

}  // namespace qvs::ucc
