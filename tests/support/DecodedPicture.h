#pragma once

#include <cstdint>
#include <vector>

namespace qvs {
class VideoFrameBuffer;
}

namespace qvs::test {

/// The picture of a planar frame, whatever order it keeps its planes in: rows of Y, then U, then V without gaps;
/// chroma sizes are rounded down.
std::vector<uint8_t> i420Bytes(const VideoFrameBuffer& frame);

/// Empty when there is none.
struct DecodedPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> bytes;  ///< as from `i420Bytes`

  bool operator==(const DecodedPicture&) const = default;
};

DecodedPicture decodedPicture(const VideoFrameBuffer& frame);

}  // namespace qvs::test
