#include "ladder/IvfSource.h"

#include <cstring>

namespace qvs::bench {
namespace {

constexpr size_t kFileHeader = 32;
constexpr size_t kFrameHeader = 12;

uint32_t little32(const uint8_t* bytes) {
  return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

}  // namespace

IvfSource::IvfSource(const std::string& path, FileHandle opened)
    : PacketSource(path, std::move(opened), kFileHeader) {
  uint8_t header[kFileHeader];
  if (fread(header, 1, sizeof header, file.get()) != sizeof header) failOnFile(path, "no IVF header");
  vp9 = std::memcmp(header + 8, "VP90", 4) == 0;
}

bool IvfSource::readPacket() {
  uint8_t header[kFrameHeader];
  return fread(header, 1, sizeof header, file.get()) == sizeof header && readInto(packet, little32(header));
}

}  // namespace qvs::bench
