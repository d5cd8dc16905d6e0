// Copies of a picture in other shapes: previews, halves, NV12, files.

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>

#include "frames/geometry/UccFormat.h"
#include "frames/VideoFrameBuffer.h"
#include "frames/VideoFrameBufferSet.h"
#include "platform/Guard.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"
#include "video/scaling/device/VideoFrameNV12Utils.h"

namespace qvs {
namespace {

constexpr uint32_t kRefused = 1;
constexpr uint32_t kBytesPerPixelBGRA = 4;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Fills a zero in a size from the other one, by the picture's aspect.
void completeSize(const frame_tt& frame, uint32_t* width, uint32_t* height) {
  if (*width == 0 && *height == 0) {
    *width = frame.width;
    *height = frame.height;
  } else if (*height == 0 && frame.width != 0) {
    *height = static_cast<uint32_t>(uint64_t{frame.height} * *width / frame.width);
  } else if (*width == 0 && frame.height != 0) {
    *width = static_cast<uint32_t>(uint64_t{frame.width} * *height / frame.height);
  }
}

/// Whether the planes lie where the plug-in's record, which tells of the first one only, has them. Those of
/// an odd picture don't: its chroma is rounded up.
bool liesAsRecord(const frame_tt& frame) {
  const ptrdiff_t half = frame.stride[0] / 2;
  const uint8_t* second = frame.plane[0] + ptrdiff_t{frame.stride[0]} * frame.height;
  return frame.stride[0] > 0 && frame.stride[1] == half && frame.stride[2] == half &&
         frame.plane[1] == second && frame.plane[2] == second + half * (frame.height / 2);
}

VideoFrameIntrinsicScalerFrame scalerFrame(const frame_tt& frame) {
  return {frame.four_cc, frame.plane[0], static_cast<uint32_t>(frame.stride[0]), frame.width, frame.height};
}

}  // namespace

uint32_t VideoFrameBuffer::getFrameBGRA(uint8_t** out, uint32_t* size, uint32_t* width, uint32_t* height,
                                        uint64_t* time) {
  completeSize(frame, width, height);
  const uint64_t bytes = uint64_t{*width} * *height * kBytesPerPixelBGRA;
  if (bytes > std::numeric_limits<uint32_t>::max()) return kFailure;
  if (size != nullptr) *size = static_cast<uint32_t>(bytes);
  if (time != nullptr) *time = timecode;
  if (out == nullptr) return kSuccess;

  FrameMemory made;
  if (*out == nullptr) made = makeFrameMemory(bytes, true);
  uint8_t* target = *out != nullptr ? *out : made.get();
  transferToLocation(systemMem);
  ucc_frame_t source;
  ucc_frame_t picture{};
  if (target == nullptr || !ucc_BGRA_s || uccViewOfFrame(&source, frame) == 0 ||
      initUCCFrame(&picture, UCC_FORMAT_BGRA, *width, *height, target) == 0) {
    return kRefused;
  }
  setUCCColorimetry(&picture);
  const ucc_config_t config{};
  if (UCC_Transform(ucc_BGRA_s.get(), &picture, &source, &config) != 0) return kRefused;
  if (made) *out = made.release();
  return kSuccess;
}

void VideoFrameBuffer::updateFractionalFrames(uint32_t width, uint32_t height) {
  for (VideoFrameBufferFractionalFrame& level : fractionalFrames) level.available = 0;
  const bool wanted = (getScaleFlags() & kScaleFlagFractionalFrames) != 0 && frame.four_cc == kFourCCYV12 &&
                      getScaleImplementation() == kScaleCPU && buffer;
  if (!wanted || !hasScalerSession()) return;
  const frame_tt* source = &frame;
  for (VideoFrameBufferFractionalFrame& level : fractionalFrames) {
    const uint32_t halfWidth = source->width / 2;
    const uint32_t halfHeight = source->height / 2;
    if (halfWidth <= width || halfHeight <= height || halfWidth % 2 != 0 || halfHeight % 2 != 0) return;
    if (!liesAsRecord(*source)) return;
    if (!halve(*source, level)) return;
    source = &level.frame;
  }
}

bool VideoFrameBuffer::halve(const frame_tt& source, VideoFrameBufferFractionalFrame& level) {
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
  const VideoFrameIntrinsicScalerFrame from = scalerFrame(source);
  VideoFrameIntrinsicScalerFrame to = scalerFrame(half);
  auto* scaler = VideoFrameIntrinsicScalerSingleton::getInstance();
  if (scaler->scaleByHalf(instrinsicScalerSessionPtr, &from, &to) != kSuccess) return false;
  level.available = 1;
  return true;
}

bool VideoFrameBuffer::getFractionalFrame(uint32_t index, frame_tt* out) const {
  if (index >= kFractionalFramesMax || fractionalFrames[index].available == 0 || out == nullptr) return false;
  *out = fractionalFrames[index].frame;
  return true;
}

uint32_t VideoFrameBuffer::copyYV12toNV12(VideoFrameBuffer& target) {
  return copyYV12toNV12(&frame, &target.frame);
}
uint32_t VideoFrameBuffer::copyNV12toYV12(VideoFrameBuffer& target) {
  return copyNV12toYV12(&frame, &target.frame);
}

uint32_t VideoFrameBuffer::copyYV12toNV12(const mc_frame_t* source, const mc_frame_t* target) {
  return VideoFrameNV12Utils::copyYV12toNV12(source, target);
}

uint32_t VideoFrameBuffer::copyNV12toYV12(const mc_frame_t* source, const mc_frame_t* target) {
  return VideoFrameNV12Utils::copyNV12toYV12(source, target);
}

uint32_t VideoFrameBuffer::writeFrameToFile(const char* path) {
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "ab"));
  if (!file) return kFailure;
  std::puts("START");
  for (uint32_t i = 0; i < 4; ++i) {
    if (frame.plane[i] == nullptr || frame.stride[i] <= 0) continue;
    const bool isLast = i == 3 || frame.plane[i + 1] == nullptr;
    const uint8_t* end = isLast ? buffer.get() + storageSize : frame.plane[i + 1];
    const auto bytes = static_cast<size_t>(std::max<ptrdiff_t>(end - frame.plane[i], 0));
    std::printf("PLANE: %zu\n", bytes);
    if (std::fwrite(frame.plane[i], 1, bytes, file.get()) != bytes) return kFailure;
  }
  return kSuccess;
}

std::unique_ptr<uint8_t[]> VideoFrameBuffer::ExtractPlaneFromYUVA(const uint8_t* data, int32_t width,
                                                                  int32_t height, int32_t plane) {
  if (data == nullptr || width <= 0 || height <= 0 || plane < 0 || plane > 3) return nullptr;
  const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
  auto component = std::make_unique<uint8_t[]>(pixels);
  for (size_t i = 0; i < pixels; ++i) component[i] = data[i * 4 + static_cast<size_t>(plane)];
  return component;
}

}  // namespace qvs
