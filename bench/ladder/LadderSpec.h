#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace qvs::bench {

enum class Codec { kVP8, kVP9, kH264, kH265 };

/// One rung of a measured ladder. `bitrate` in bits per second.
struct Rung {
  uint32_t width;
  uint32_t height;
  uint32_t bitrate;
};

/// One ladder that every program here makes, whatever drives it; `run` hands ffmpeg the same numbers.
struct LadderSpec {
  std::string_view name;
  Codec codec;
  std::string_view extension;  ///< of a rendition's file
  std::span<const Rung> rungs;
};

inline constexpr size_t kMostRungs = 4;

inline constexpr std::array<Rung, 3> kRungs = {
    {{1280, 720, 2'500'000}, {854, 480, 1'200'000}, {640, 360, 600'000}}};
inline constexpr std::array<Rung, kMostRungs> kRungsFrom1080 = {
    {{1920, 1080, 4'500'000}, {1280, 720, 2'500'000}, {854, 480, 1'200'000}, {640, 360, 600'000}}};

inline constexpr std::array<Rung, 3> kRungsHevc = {
    {{1920, 1080, 3'000'000}, {1280, 720, 1'800'000}, {854, 480, 900'000}}};

/// A ladder with the same calls and next to no codec work, in which the calls themselves can be seen.
inline constexpr std::array<Rung, 3> kSmallRungs = {
    {{32, 32, 500'000}, {32, 32, 500'000}, {32, 32, 500'000}}};

inline constexpr LadderSpec kLadders[] = {
    {"vp8", Codec::kVP8, "ivf", kRungs},           {"vp8-small", Codec::kVP8, "ivf", kSmallRungs},
    {"h264", Codec::kH264, "264", kRungsFrom1080}, {"h265", Codec::kH265, "265", kRungsHevc},
    {"h264-720", Codec::kH264, "264", kRungs},
};

/// Null when there is none of that name.
constexpr const LadderSpec* findLadder(std::string_view name) {
  for (const auto& ladder : kLadders) {
    if (ladder.name == name) return &ladder;
  }
  return nullptr;
}

inline constexpr uint32_t kFrameRate = 30;
inline constexpr uint32_t kKeyFrameInterval = 60;  ///< frames; key frames are requested, never chosen
inline constexpr int kCpuUsed = -8;                ///< libvpx
inline constexpr uint32_t kEncoderThreads = 1;

/// H.264 and H.265: units behind lengths.
constexpr bool hasUnits(Codec codec) {
  return codec == Codec::kH264 || codec == Codec::kH265;
}

constexpr bool isKeyFrame(uint64_t frameNumber) {
  return frameNumber % kKeyFrameInterval == 0;
}

}  // namespace qvs::bench
