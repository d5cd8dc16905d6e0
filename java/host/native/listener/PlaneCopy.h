#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace qvs {
class VideoFrameBuffer;
}

namespace qvs::host {

/// Bytes of a picture's planes Y, U and V, rows without padding, chroma sizes rounded down; 0 for a format that has no
/// three planes.
size_t planesSize(const VideoFrameBuffer& frame);

/// Copies these planes, in that order; false, with part of them copied at most, where they are not in the host's memory
/// or do not fit.
bool copyPlanes(const VideoFrameBuffer& frame, std::span<uint8_t> into);

}  // namespace qvs::host
