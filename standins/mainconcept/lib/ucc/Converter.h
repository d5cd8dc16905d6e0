#pragma once

#include "ucc/OverlayPainter.h"
#include "ucc/Road.h"

namespace qvs::ucc {

enum class Status : uint32_t { kDone = 0, kBadArgument = 1, kNoMemory = 2 };

/// What an instance of the API is. Keeps the road of its last task and the overlay that it last painted.
class Converter {
 public:
  Status transform(const ucc_frame_t& target, const ucc_frame_t& source, const ucc_overlay_config_t* overlay);

 private:
  bool convert(const Task& task, const ucc_frame_t& target, const ucc_frame_t& source);
  bool paint(const OverlayTask& task, const ucc_frame_t& target, const ucc_overlay_config_t& overlay);

  Task task_{};
  RoadPtr road_;
  std::unique_ptr<OverlayPainter> painter_;
};

}  // namespace qvs::ucc
