#pragma once

#include <cstdint>
#include <vector>

namespace qvs::test {

struct CodedPacket {
  std::vector<uint8_t> bytes;
  uint64_t timecode = 0;
};

/// A coded VP8 or VP9 stream.
struct CodedStream {
  uint32_t codecVersion = 8;  ///< 8 or 9
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<CodedPacket> packets;
};

}  // namespace qvs::test
