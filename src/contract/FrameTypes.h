#pragma once

#include <cstdint>

namespace qvs {

/// Types of a video frame, coded or decoded.
enum FrameType : uint32_t {
  kFrameTypeUnknown = 0,
  kFrameTypeKey = 1,
  kFrameTypePredicted = 2,
  kFrameTypeBidirectional = 3,  ///< or disposable
};

/// Bits of a frame's flags.
inline constexpr uint64_t kFrameFlagNoSignal = 1;  ///< of a capture: the device had no signal
inline constexpr uint64_t kFrameFlagInterlaced = 2;
inline constexpr uint64_t kFrameFlagBottomFieldFirst = 4;

/// Where a picture lies. systemMem and CUDA are also the bits of a frame's `locations`.
enum class VideoBufferLocation : uint32_t { unknown = 0, systemMem = 1, CUDA = 2, quicksync = 3 };

}  // namespace qvs
