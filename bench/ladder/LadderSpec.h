#pragma once

#include <array>
#include <cstdint>

namespace qvs::bench {

/// One rung of the measured ladder. `bitrate` in bits per second.
struct Rung {
  uint32_t width;
  uint32_t height;
  uint32_t bitrate;
};

/// The ladder that every program here makes, whatever drives it; `run` hands ffmpeg the same numbers.
inline constexpr std::array<Rung, 3> kRungs = {
    {{1280, 720, 2'500'000}, {854, 480, 1'200'000}, {640, 360, 600'000}}};

/// A ladder with the same calls and next to no codec work, in which the calls themselves can be seen.
inline constexpr std::array<Rung, 3> kSmallRungs = {
    {{32, 32, 500'000}, {32, 32, 500'000}, {32, 32, 500'000}}};

inline constexpr double kFrameRate = 30.0;
inline constexpr uint32_t kKeyFrameInterval = 60;  ///< frames; key frames are requested, never chosen
inline constexpr int kCpuUsed = -8;
inline constexpr uint32_t kEncoderThreads = 1;

constexpr bool isKeyFrame(uint64_t frameNumber) {
  return frameNumber % kKeyFrameInterval == 0;
}

}  // namespace qvs::bench
