#pragma once

#include <cstdint>

namespace qvs {

/// The code of a format name: four characters, the first in the low byte.
constexpr uint32_t fourcc(const char (&name)[5]) {
  uint32_t code = 0;
  for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<uint8_t>(name[i]);
  return code;
}

inline constexpr uint32_t kFourCCYV12 = fourcc("YV12");
inline constexpr uint32_t kFourCCI420 = fourcc("I420");
inline constexpr uint32_t kFourCCIYUV = fourcc("IYUV");
inline constexpr uint32_t kFourCCYV16 = fourcc("YV16");
inline constexpr uint32_t kFourCCI422 = fourcc("I422");
inline constexpr uint32_t kFourCCNV12 = fourcc("NV12");
inline constexpr uint32_t kFourCCHN12 = fourcc("HN12");  ///< NV12 in a card's memory, behind a handle
inline constexpr uint32_t kFourCCNV21 = fourcc("NV21");
inline constexpr uint32_t kFourCCBGRA = fourcc("BGRA");
inline constexpr uint32_t kFourCCARGB = fourcc("ARGB");
inline constexpr uint32_t kFourCCBGR4 = fourcc("BGR4");
inline constexpr uint32_t kFourCCBGR3 = fourcc("BGR3");
inline constexpr uint32_t kFourCCVUYA = fourcc("VUYA");
inline constexpr uint32_t kFourCCYUVA = fourcc("YUVA");
inline constexpr uint32_t kFourCCRGBA = fourcc("RGBA");
inline constexpr uint32_t kFourCCv210 = fourcc("v210");
inline constexpr uint32_t kFourCCXYZ12 = 0x0C5A5958;  ///< 12-bit XYZ: the low byte is the depth's

}  // namespace qvs
