#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/PlanarConversion.h"

namespace qvs::ucc {

/// Everything: unpack to planes, one graph, pack.
class GraphPath : public ConversionPath {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  const PixelFormat* format = nullptr;
  PlanarConversion conversion;
};

}  // namespace qvs::ucc
