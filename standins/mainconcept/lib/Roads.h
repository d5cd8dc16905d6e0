// The roads that serve any format. Those for single pairs of formats are in KernelRoad.h.
#pragma once

#include "PlanarConversion.h"
#include "Road.h"

namespace qvs::ucc {

/// Same format, size and colour: rows as they are.
class CopyRoad : public Road {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  const PixelFormat* format_ = nullptr;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
};

/// Same size, colour and working form: only the packing changes, row by row, exactly.
class RepackRoad : public Road {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  void unpackRow(const ucc_frame_t& source, uint32_t y, bool chroma);
  void packRow(const ucc_frame_t& target, uint32_t y, bool chroma);

  Task task_{};
  PlanarPicture row_;
};

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
