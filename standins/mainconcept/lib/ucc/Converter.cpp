// One call of an instance: checks its arguments, keeps the plan, converts, lays the overlay over.
#include "ucc/Converter.h"

#include <cstdlib>
#include <new>

#include "ucc/ConversionPathTable.h"
#include "ucc/PictureRect.h"

namespace qvs::ucc {
namespace {

constexpr uint32_t kMaxSize = 16384;
// The one type of overlay that callers use.
constexpr uint32_t kBlendByOwnAlpha = 2;
constexpr uint32_t kKnownOrientations =
    UCC_ORIENTATION_TURN_90 | UCC_ORIENTATION_TURN_180 | UCC_ORIENTATION_MIRROR;

Orientation orientationOf(uint32_t bits) {
  return makeOrientation((bits & UCC_ORIENTATION_MIRROR) != 0, (bits & UCC_ORIENTATION_TURN_90) != 0,
                         (bits & UCC_ORIENTATION_TURN_180) != 0);
}

bool sizeInRange(uint32_t width, uint32_t height) {
  return width >= 1 && width <= kMaxSize && height >= 1 && height <= kMaxSize;
}

// Every plane that holds samples is there, and its rows don't overlap.
bool frameIsSound(const PixelFormat* format, const ucc_frame_t& frame) {
  if (!format || !sizeInRange(frame.width, frame.height)) return false;
  for (int p = 0; p < format->planes; ++p) {
    const uint32_t bytes = format->rowBytes(p, frame.width);
    if (bytes == 0 || format->rowsOf(p, frame.height) == 0) continue;
    if (!frame.plane[p] || std::llabs(frame.stride[p]) < bytes) return false;
  }
  return true;
}

bool overlayIsSound(const ucc_overlay_config_t& overlay, const PixelFormat*& format) {
  if (overlay.type != kBlendByOwnAlpha || !overlay.frame) return false;
  format = findPixelFormat(overlay.frame->pixel_format);
  return frameIsSound(format, *overlay.frame) && sizeInRange(overlay.width, overlay.height);
}

}  // namespace

Status Converter::transform(ucc_frame_t target, const ucc_frame_t& given, const ucc_config_t& config) {
  const ucc_overlay_config_t* const overlay = config.overlay;
  const PixelFormat* targetFormat = findPixelFormat(target.pixel_format);
  const PixelFormat* sourceFormat = findPixelFormat(given.pixel_format);
  const PixelFormat* overlayFormat = nullptr;
  if (!frameIsSound(targetFormat, target) || !frameIsSound(sourceFormat, given)) return Status::kBadArgument;
  if (overlay && !overlayIsSound(*overlay, overlayFormat)) return Status::kBadArgument;
  if ((config.orientation & ~kKnownOrientations) != 0) return Status::kBadArgument;
  if (config.deinterlacing_method_idc > UCC_DEINTERLACING_INTERFIELD_INTERPOLATION)
    return Status::kBadArgument;
  ucc_frame_t part = given;
  if (config.source_rect && !narrowTo(*config.source_rect, *sourceFormat, part)) return Status::kBadArgument;
  if (config.target_rect && !narrowTo(*config.target_rect, *targetFormat, target))
    return Status::kBadArgument;

  // From here on only memory can fail.
  ucc_frame_t source = wholeOf(*sourceFormat, given, config.deinterlacing_method_idc);
  if (config.source_rect) narrowTo(*config.source_rect, *sourceFormat, source);
  const ColorPair colors =
      resolveColors(*targetFormat, target.colorimetry, *sourceFormat, source.colorimetry);
  const Task task{targetFormat,  sourceFormat,  target.width,
                  target.height, source.width,  source.height,
                  colors.target, colors.source, orientationOf(config.orientation)};
  if (!convert(task, target, source)) return Status::kNoMemory;
  if (!overlay) return Status::kDone;

  const ColorPair blend =
      resolveColors(*targetFormat, target.colorimetry, *overlayFormat, overlay->frame->colorimetry);
  const OverlayTask overlayTask{targetFormat, overlayFormat, blend.target, blend.source};
  return paint(overlayTask, target, *overlay) ? Status::kDone : Status::kNoMemory;
}

const ucc_frame_t& Converter::wholeOf(const PixelFormat& format, const ucc_frame_t& source, uint32_t method) {
  if (method == UCC_DEINTERLACING_NONE || source.progressive_frame_flag != 0) return source;
  if (!deinterlacer) deinterlacer.reset(new (std::nothrow) DeinterlaceStage);
  const ucc_frame_t* const whole = deinterlacer ? deinterlacer->run(format, source) : nullptr;
  return whole != nullptr ? *whole : source;
}

bool Converter::convert(const Task& task, const ucc_frame_t& target, const ucc_frame_t& source) {
  const bool samePicture =
      target.plane[0] == source.plane[0] && task.target == task.source && task.sameSize();
  // The way to blend in place: nothing to convert, and copying rows onto themselves would be undefined.
  if (samePicture && task.sameColor()) return true;
  // A path that failed to get its memory isn't kept, so the next call tries again.
  if (!path || task != planned) {
    path = choosePath(task);
    planned = task;
  }
  return path && path->run(target, source);
}

bool Converter::paint(const OverlayTask& task, const ucc_frame_t& target,
                      const ucc_overlay_config_t& overlay) {
  if (!painter) painter.reset(new (std::nothrow) OverlayPainter);
  return painter && painter->paint(task, target, overlay);
}

}  // namespace qvs::ucc
