#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "frames/geometry/FourCC.h"
#include "frames/geometry/HostLayout.h"
#include "frames/VideoFrameBuffer.h"
#include "frames/VideoFrameBufferSet.h"
#include "frames/VideoOverlayFrame.h"
#include "support/FrameSamples.h"
#include "support/GuardedBytes.h"

namespace qvs::test {

// BT.709, full range.
inline constexpr Yuv kRed{54, 99, 255};
inline constexpr Yuv kBlue{18, 255, 117};
inline constexpr Yuv kGreen{182, 30, 12};
inline constexpr Yuv kBlack{0, 128, 128};

inline void paint(VideoFrameBuffer& frame, Yuv color, uint32_t left = 0, uint32_t top = 0,
                  uint32_t right = UINT32_MAX, uint32_t bottom = UINT32_MAX) {
  const Samples samples(frame);
  for (uint32_t row = top; row < std::min(bottom, frame.getHeight()); ++row) {
    for (uint32_t x = left; x < std::min(right, frame.getWidth()); ++x) {
      samples.y(x, row) = static_cast<uint8_t>(color.y);
      samples.u(x, row) = static_cast<uint8_t>(color.u);
      samples.v(x, row) = static_cast<uint8_t>(color.v);
    }
  }
}

inline testing::AssertionResult isColor(const VideoFrameBuffer& frame, Yuv wanted, uint32_t left,
                                        uint32_t top, uint32_t right, uint32_t bottom, int tolerance = 3) {
  const Samples samples(frame);
  for (uint32_t row = top; row < bottom; ++row) {
    for (uint32_t x = left; x < right; ++x) {
      const Yuv is = samples.at(x, row);
      if (std::abs(is.y - wanted.y) > tolerance || std::abs(is.u - wanted.u) > tolerance ||
          std::abs(is.v - wanted.v) > tolerance) {
        return testing::AssertionFailure()
               << "at " << x << "," << row << " " << is << " instead of " << wanted;
      }
    }
  }
  return testing::AssertionSuccess();
}

inline testing::AssertionResult isColor(const VideoFrameBuffer& frame, Yuv wanted) {
  return isColor(frame, wanted, 0, 0, frame.getWidth(), frame.getHeight());
}

/// A pool of one frame.
struct OneFramePool {
  OneFramePool(uint32_t width, uint32_t height, uint32_t code, uint64_t flags = 0) {
    set.setScaleFlags(flags);
    set.initialize(1);
    frame().allocBuffer(width, height, code);
  }
  VideoFrameBuffer& frame() { return *set.getVideoFrameBuffer(0); }

  VideoFrameBufferSet set;
};

/// Gives a frame storage of exactly what its format needs, against a page that nobody may touch.
class Guard {
 public:
  Guard(VideoFrameBuffer& frame, uint32_t width, uint32_t height, uint32_t code)
      : bytes(std::make_shared<GuardedBytes>(hostLayout(width, height, code).storageSize)) {
    frame.setStorage(FrameMemory(bytes->data(), [keep = bytes](uint8_t*) {}), width, height, code);
  }
  bool isWhole() const { return bytes->slackIntact(); }
  bool isStorageUntouched() const {
    return std::all_of(bytes->data(), bytes->data() + bytes->size(),
                       [](uint8_t byte) { return byte == GuardedBytes::kFill; });
  }

 private:
  std::shared_ptr<GuardedBytes> bytes;
};

/// Every format of which the converter knows a name, and two that it doesn't.
inline constexpr uint32_t kAllFormats[] = {
    kFourCCYV12,    kFourCCI420,    kFourCCIYUV,  kFourCCYV16,    kFourCCI422,    kFourCCNV12,
    kFourCCNV21,    kFourCCBGRA,    kFourCCARGB,  kFourCCBGR3,    kFourCCBGR4,    fourcc("R555"),
    fourcc("R565"), fourcc("AYUV"), kFourCCVUYA,  fourcc("YUY2"), fourcc("YUYV"), fourcc("UYVY"),
    fourcc("Y210"), fourcc("Y216"), kFourCCv210,  fourcc("Y41P"), fourcc("P010"), fourcc("P016"),
    fourcc("P210"), fourcc("P216"), kFourCCXYZ12, fourcc("none")};

inline std::string nameOf(uint32_t code) {
  return std::string(reinterpret_cast<const char*>(&code), 4);
}

/// A "BGRA" overlay of one color.
inline VideoOverlayFrame* makeOverlay(uint32_t width, uint32_t height, uint32_t bgra, uint32_t slack = 0) {
  const uint32_t stride = width * 4 + slack;
  auto* bytes = static_cast<uint8_t*>(std::malloc(size_t{stride} * height));
  std::memset(bytes, 0x77, size_t{stride} * height);
  for (uint32_t row = 0; row < height; ++row) {
    for (uint32_t x = 0; x < width; ++x) std::memcpy(bytes + row * stride + x * 4, &bgra, 4);
  }
  return new VideoOverlayFrame(fourcc("BGRA"), bytes, stride * height, stride, 0, width, height);
}
inline constexpr uint32_t kOpaqueRed = 0xFFFF0000;
inline constexpr uint32_t kOpaqueBlue = 0xFF0000FF;
inline constexpr uint32_t kClearRed = 0x00FF0000;

}  // namespace qvs::test
