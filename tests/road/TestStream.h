#pragma once

#include <cstdint>
#include <vector>

namespace qvs::test {

using Packet = std::vector<uint8_t>;

struct StreamShape {
  uint32_t width = 64;
  uint32_t height = 48;
  uint32_t frames = 4;
  uint32_t codecVersion = 8;  ///< 8 VP8, 9 VP9
};

/// Makes a coded stream of a drifting picture whose three planes all differ; its first frame is a key frame.
std::vector<Packet> makeStream(const StreamShape& shape);

/// One decoded picture with rows packed, planes Y, U, V; empty when the packet gives none.
struct DecodedPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> planes[3];
};

/// What libvpx itself makes of the packets, one entry a packet.
std::vector<DecodedPicture> decodeDirectly(const std::vector<Packet>& packets, uint32_t codecVersion);

}  // namespace qvs::test
