#pragma once

#include "ucc/ConversionPath.h"

namespace qvs::ucc {

/// Same format, size and color: rows as they are.
class CopyPath : public ConversionPath {
 public:
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  const PixelFormat* format = nullptr;
  uint32_t width = 0;
  uint32_t height = 0;
};

}  // namespace qvs::ucc
