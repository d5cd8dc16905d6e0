#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/PlanarConversion.h"

namespace qvs::ucc {

/// Everything: unpack to planes, one graph, pack; where the picture turns, by way of turned planes.
class GraphPath : public ConversionPath {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  /// The result's planes as the target has them, its alpha among them.
  void turnPlanes();

  const PixelFormat* format = nullptr;
  Orientation orientation;
  PlanarConversion conversion;
  PlanarPicture turned;  ///< in use where the orientation isn't upright
};

}  // namespace qvs::ucc
