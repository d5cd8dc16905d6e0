#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/OverlayPainter.h"

namespace qvs::ucc {

enum class Status : uint32_t { kDone = 0, kBadArgument = 1, kNoMemory = 2 };

/// What an instance of the API is. Keeps the path of its last task and the overlay that it last painted.
class Converter {
 public:
  Status transform(ucc_frame_t target, ucc_frame_t source, const ucc_config_t& config);

 private:
  bool convert(const Task& task, const ucc_frame_t& target, const ucc_frame_t& source);
  bool paint(const OverlayTask& task, const ucc_frame_t& target, const ucc_overlay_config_t& overlay);

  Task planned{};
  ConversionPathPtr path;
  std::unique_ptr<OverlayPainter> painter;
};

}  // namespace qvs::ucc
