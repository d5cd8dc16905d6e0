#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qvs::bench {

using Packet = std::vector<uint8_t>;

/// An Ogg file of one Opus stream, read whole. Ends the program where it isn't one.
struct OpusFile {
  explicit OpusFile(const std::string& path);

  Packet head;  ///< "OpusHead"
  std::vector<Packet> packets;
};

}  // namespace qvs::bench
