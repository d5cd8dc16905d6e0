// Half-size copies of a picture.
#include "frames/FractionalFrames.h"

#include <cstddef>

#include "frames/IntrinsicScalerSession.h"

namespace qvs {

void FractionalFrames::clear() {
  for (VideoFrameBufferFractionalFrame& level : levels) level.available = 0;
}

void FractionalFrames::update(const frame_tt& picture, PixelSize smallest, IntrinsicScalerSession& scaler) {
  const frame_tt* source = &picture;
  for (VideoFrameBufferFractionalFrame& level : levels) {
    const uint32_t width = source->width / 2;
    const uint32_t height = source->height / 2;
    if (width <= smallest.width || height <= smallest.height || width % 2 != 0 || height % 2 != 0) return;
    if (!IntrinsicScalerSession::canTell(*source) || !halve(*source, level, scaler)) return;
    source = &level.frame;
  }
}

bool FractionalFrames::halve(const frame_tt& source, VideoFrameBufferFractionalFrame& level,
                             IntrinsicScalerSession& scaler) {
  frame_tt half = source;
  half.width = source.width / 2;
  half.height = source.height / 2;
  for (int i = 0; i < 3; ++i) half.stride[i] = source.stride[i] / 2;
  const size_t luma = size_t{static_cast<uint32_t>(half.stride[0])} * half.height;
  const size_t chroma = size_t{static_cast<uint32_t>(half.stride[1])} * (half.height / 2);
  const size_t size = luma + 2 * chroma;
  if (!level.buffer || level.frame_size != size) {
    level.buffer = makeFrameMemory(size, false);
    level.frame_size = size;
    if (!level.buffer) return false;
  }
  half.plane[0] = level.buffer.get();
  half.plane[1] = half.plane[0] + luma;
  half.plane[2] = half.plane[1] + chroma;
  level.frame = half;
  if (!scaler.scaleByHalf(source, half)) return false;
  level.available = 1;
  return true;
}

bool FractionalFrames::get(uint32_t index, frame_tt* out) const {
  if (index >= kLevelsMax || levels[index].available == 0 || out == nullptr) return false;
  *out = levels[index].frame;
  return true;
}

}  // namespace qvs
