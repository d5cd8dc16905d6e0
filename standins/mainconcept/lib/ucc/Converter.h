#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/OverlayPainter.h"

namespace qvs::ucc {

enum class Status : uint32_t { kDone = 0, kBadArgument = 1, kNoMemory = 2 };

/// What an instance of the API is. Keeps the path of its last task and the overlay that it last painted.
class Converter {
 public:
  /// `orientation`: bits of ucc_orientation_e.
  Status transform(const ucc_frame_t& target, const ucc_frame_t& source, uint32_t orientation,
                   const ucc_overlay_config_t* overlay);

 private:
  bool convert(const Task& task, const ucc_frame_t& target, const ucc_frame_t& source);
  bool paint(const OverlayTask& task, const ucc_frame_t& target, const ucc_overlay_config_t& overlay);

  Task planned{};
  ConversionPathPtr path;
  std::unique_ptr<OverlayPainter> painter;
};

}  // namespace qvs::ucc
