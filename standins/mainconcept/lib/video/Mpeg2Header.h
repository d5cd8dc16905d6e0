#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "video/SequenceInfo.h"

namespace qvs::mc {

/// Reads the sequence header, and its extension, in front of a picture. Nothing without one.
std::optional<SequenceInfo> readMpeg2Header(const uint8_t* bytes, size_t size);

/// A picture's own headers.
struct Mpeg2Picture {
  static constexpr uint32_t kIntra = 1;
  static constexpr uint32_t kFrame = 3;

  size_t end = 0;  ///< where they end
  uint32_t temporalReference = 0;
  uint32_t codingType = 0;
  uint32_t structure = kFrame;  ///< 1 top field, 2 bottom field
};

/// The next picture from `from` on.
std::optional<Mpeg2Picture> findMpeg2Picture(const uint8_t* bytes, size_t size, size_t from);

}  // namespace qvs::mc
