#pragma once

#include "ucc/Road.h"

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

}  // namespace qvs::ucc
