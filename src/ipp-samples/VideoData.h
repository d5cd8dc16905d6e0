#pragma once

#include <array>

#include "ipp-samples/IppTypes.h"

namespace qvs::UMC {

enum ColorFormat { NONE = -1, YUV420 = 5 };
enum FrameType { NONE_PICTURE = 0, I_PICTURE = 1, P_PICTURE = 2 };

/// A raw picture whose planes are another's: Y, U, V.
class VideoData {
 public:
  /// False for a size or a format that isn't one.
  bool Init(Ipp32s width, Ipp32s height, ColorFormat format, Ipp32s bitDepth) {
    if (width <= 0 || height <= 0 || format != YUV420 || bitDepth != 8) return false;
    this->width = width;
    this->height = height;
    return true;
  }
  void SetPlanePointer(const Ipp8u* plane, Ipp32s index) { planes[static_cast<size_t>(index)] = plane; }
  void SetPlanePitch(Ipp32s pitch, Ipp32s index) { pitches[static_cast<size_t>(index)] = pitch; }
  const Ipp8u* GetPlanePointer(Ipp32s index) const { return planes[static_cast<size_t>(index)]; }
  Ipp32s GetPlanePitch(Ipp32s index) const { return pitches[static_cast<size_t>(index)]; }
  Ipp32s GetWidth() const { return width; }
  Ipp32s GetHeight() const { return height; }
  void SetFrameType(FrameType value) { frameType = value; }
  FrameType GetFrameType() const { return frameType; }
  void SetTime(Ipp64f value) { time = value; }
  Ipp64f GetTime() const { return time; }

 private:
  std::array<const Ipp8u*, 3> planes{};
  std::array<Ipp32s, 3> pitches{};  ///< bytes
  Ipp32s width = 0;
  Ipp32s height = 0;
  FrameType frameType = NONE_PICTURE;
  Ipp64f time = 0.0;
};

}  // namespace qvs::UMC
