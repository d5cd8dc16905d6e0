#pragma once

#include "ladder/PacketSource.h"

namespace qvs::bench {

/// H.264 out of an FLV file: access units of length-prefixed units behind a configuration record.
class FlvSource : public PacketSource {
 public:
  FlvSource(const std::string& path, FileHandle opened);
  Codec codec() const override { return Codec::kH264; }
  std::span<uint8_t> config() override { return {record.data(), record.size() - kPadding}; }

 private:
  bool readPacket() override;

  std::vector<uint8_t> record;  ///< with padding
};

}  // namespace qvs::bench
