#pragma once

#include <cstdint>

namespace qvs {

/// What scales pictures.
enum ScaleImplementation : uint32_t {
  kScaleCPU = 1,
  kScaleCUDA = 100,
  kScaleQuickSync = 200,
  kScaleVAAPI = 300,
  kScaleOpenCL = 400,
  kScaleU30 = 500,
};

/// Scale flags. Half-size copies of decoded pictures.
inline constexpr uint64_t kScaleFlagFractionalFrames = 1;
/// Overlays that need no scaling are drawn by the scaler plug-in.
inline constexpr uint64_t kScaleFlagPluginOverlays = 2;
/// Opt-in: the CPU path honours crop, source rectangle, padding, destination rectangle and crop-to-fill. The
/// rectangles are clipped to their pictures and narrowed to whole chroma samples; what lies outside of the
/// target rectangle is black. A transfer whose rectangle is empty fails and leaves the target untouched.
inline constexpr uint64_t kScaleFlagPlaceOnCpu = 0x10000;
/// Opt-in: the CPU path turns and mirrors the set's pictures as it scales them, first from left to right, then
/// clockwise by the sum of the turns. Sizes, fit modes and rectangles of the source count in the turned
/// picture.
inline constexpr uint64_t kScaleFlagTurn90 = 0x20000;
inline constexpr uint64_t kScaleFlagTurn180 = 0x40000;
inline constexpr uint64_t kScaleFlagMirror = 0x80000;

}  // namespace qvs
