#include "ladder/FlvSource.h"

namespace qvs::bench {
namespace {

constexpr long kFirstTag = 9 + 4;
constexpr size_t kTagHeader = 11;
constexpr size_t kVideoHeader = 5;
constexpr long kTagSizeField = 4;  ///< behind each tag
constexpr uint8_t kVideoTag = 9;
constexpr uint8_t kAvc = 7;

enum AvcPacket : uint8_t { kRecord = 0, kAccessUnit = 1 };

}  // namespace

FlvSource::FlvSource(const std::string& path, FileHandle opened)
    : PacketSource(path, std::move(opened), kFirstTag) {
  fseek(file.get(), kFirstTag, SEEK_SET);
  if (!readPacket() || record.size() <= kPadding) failOnFile(path, "no H.264 in it");
}

bool FlvSource::readPacket() {
  uint8_t header[kTagHeader];
  while (fread(header, 1, sizeof header, file.get()) == sizeof header) {
    size_t size = static_cast<size_t>(header[1]) << 16 | header[2] << 8 | header[3];
    uint8_t video[kVideoHeader] = {};
    if (header[0] == kVideoTag && size >= kVideoHeader) {
      if (fread(video, 1, sizeof video, file.get()) != sizeof video) return false;
      size -= sizeof video;
    }
    const bool avc = (video[0] & 15) == kAvc;
    const bool unit = avc && video[1] == kAccessUnit;
    if (unit || (avc && video[1] == kRecord)) {
      if (!readInto(unit ? packet : record, size)) return false;
      size = 0;
    }
    if (fseek(file.get(), static_cast<long>(size) + kTagSizeField, SEEK_CUR) != 0) return false;
    if (unit) return true;
  }
  return false;
}

}  // namespace qvs::bench
