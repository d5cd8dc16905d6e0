#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/PlanarPicture.h"

namespace qvs::ucc {

/// Same size, color and working form: only the packing changes, row by row, exactly.
class RepackPath : public ConversionPath {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  /// Row `y` of the planes that are, or aren't, of the chroma grid.
  void unpackRow(const ucc_frame_t& source, uint32_t y, bool chroma);
  void packRow(const ucc_frame_t& target, uint32_t y, bool chroma);

  Task planned{};
  PlanarPicture row;  ///< one row of every component: the whole picture never leaves the cache
};

}  // namespace qvs::ucc
