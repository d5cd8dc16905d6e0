#pragma once

#include <memory>

#include "ucc/Colour.h"

namespace qvs::ucc {

/// All that the choice and the plan of a conversion depend on.
struct Task {
  const PixelFormat* target;
  const PixelFormat* source;
  uint32_t targetWidth;
  uint32_t targetHeight;
  uint32_t sourceWidth;
  uint32_t sourceHeight;
  Colour targetColour;
  Colour sourceColour;

  bool operator==(const Task&) const = default;
  bool sameSize() const { return targetWidth == sourceWidth && targetHeight == sourceHeight; }
  bool fromYuv() const { return source->form.family == Family::kYuv; }
  const Colour& yuvColour() const { return fromYuv() ? sourceColour : targetColour; }
  bool sameColour() const {
    return target->form.family == source->form.family && targetColour == sourceColour;
  }
};

/// A way to turn pictures of one task's source into its target, with all memory that it needs.
class Road {
 public:
  virtual ~Road() = default;
  /// False when memory fails.
  virtual bool prepare(const Task& task) = 0;
  virtual bool run(const ucc_frame_t& target, const ucc_frame_t& source) = 0;
};

using RoadPtr = std::unique_ptr<Road>;

}  // namespace qvs::ucc
