#pragma once

#include <memory>

#include "ucc/Color.h"
#include "ucc/kernels/Orientation.h"

namespace qvs::ucc {

/// All that the choice and the plan of a conversion depend on.
struct Task {
  const PixelFormat* target;
  const PixelFormat* source;
  uint32_t targetWidth;
  uint32_t targetHeight;
  uint32_t sourceWidth;
  uint32_t sourceHeight;
  Color targetColor;
  Color sourceColor;
  Orientation orientation;  ///< of the source in the target

  bool operator==(const Task&) const = default;
  /// No sample moves: equal sizes, and nothing turned.
  bool sameSize() const {
    return targetWidth == sourceWidth && targetHeight == sourceHeight && orientation.upright();
  }
  bool fromYuv() const { return source->form.family == Family::kYuv; }
  const Color& yuvColor() const { return fromYuv() ? sourceColor : targetColor; }
  bool sameColor() const { return target->form.family == source->form.family && targetColor == sourceColor; }
};

/// A way to turn pictures of one task's source into its target, with all memory that it needs.
class ConversionPath {
 public:
  virtual ~ConversionPath() = default;
  /// False when memory fails.
  virtual bool prepare(const Task& task) = 0;
  virtual bool run(const ucc_frame_t& target, const ucc_frame_t& source) = 0;
};

using ConversionPathPtr = std::unique_ptr<ConversionPath>;

}  // namespace qvs::ucc
