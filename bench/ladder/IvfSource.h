#pragma once

#include "ladder/PacketSource.h"

namespace qvs::bench {

/// VP8 or VP9 out of an IVF file.
class IvfSource : public PacketSource {
 public:
  IvfSource(const std::string& path, FileHandle opened);
  Codec codec() const override { return vp9 ? Codec::kVP9 : Codec::kVP8; }

 private:
  bool readPacket() override;

  bool vp9 = false;
};

}  // namespace qvs::bench
