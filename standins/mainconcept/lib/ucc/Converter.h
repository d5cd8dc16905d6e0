#pragma once

#include "ucc/ConversionPath.h"
#include "ucc/DeinterlaceStage.h"
#include "ucc/OverlayPainter.h"

namespace qvs::ucc {

enum class Status : uint32_t { kDone = 0, kBadArgument = 1, kNoMemory = 2 };

/// What an instance of the API is. Keeps the path of its last task and the overlay that it last painted.
class Converter {
 public:
  Status transform(ucc_frame_t target, const ucc_frame_t& given, const ucc_config_t& config);

 private:
  bool convert(const Task& task, const ucc_frame_t& target, const ucc_frame_t& source);
  /// The picture to convert: the source, or a whole one made of it.
  const ucc_frame_t& wholeOf(const PixelFormat& format, const ucc_frame_t& source, uint32_t method);
  bool paint(const OverlayTask& task, const ucc_frame_t& target, const ucc_overlay_config_t& overlay);

  Task planned{};
  ConversionPathPtr path;
  std::unique_ptr<OverlayPainter> painter;
  std::unique_ptr<DeinterlaceStage> deinterlacer;
};

}  // namespace qvs::ucc
