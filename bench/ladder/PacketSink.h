#pragma once

#include <span>
#include <string>

#include "ladder/FileHandle.h"
#include "ladder/LadderSpec.h"

namespace qvs::bench {

/// Writes a rendition, IVF or an H.264 elementary stream; without a folder it only counts.
class PacketSink {
 public:
  PacketSink() = default;
  PacketSink(const std::string& folder, const LadderSpec& ladder, const Rung& rung);

  /// H.264 comes with lengths of four bytes.
  void write(const uint8_t* data, size_t size);

  uint64_t byteCount() const { return total; }

 private:
  void writeIvf(const uint8_t* data, size_t size);
  void writeUnits(const uint8_t* data, size_t size);

  FileHandle file;
  Codec codec = Codec::kVP8;
  uint64_t total = 0;
  uint64_t frameNumber = 0;
};

}  // namespace qvs::bench
