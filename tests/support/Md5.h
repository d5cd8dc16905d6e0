#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qvs {
class VideoFrameBuffer;
}

namespace qvs::test {

/// Hexadecimal md5 of bytes.
std::string md5(const std::vector<uint8_t>& bytes);

/// A frame's picture as bytes: rows of Y, then U, then V, whatever order the frame keeps them in, strides
/// removed, chroma sizes rounded down.
std::vector<uint8_t> i420Bytes(const VideoFrameBuffer& frame);

}  // namespace qvs::test
