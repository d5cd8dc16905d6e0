#include "ladder/PacketSink.h"

#include <algorithm>

namespace qvs::bench {
namespace {

constexpr size_t kFileHeader = 32;
constexpr size_t kFrameHeader = 12;
constexpr size_t kLength = 4;

void putLittle(uint8_t* bytes, uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

}  // namespace

PacketSink::PacketSink(const std::string& folder, const LadderSpec& ladder, const Rung& rung)
    : codec(ladder.codec) {
  if (folder.empty()) return;
  const std::string path = folder + "/" + std::to_string(rung.height) + "." + std::string(ladder.extension);
  file.reset(fopen(path.c_str(), "wb"));
  if (!file) failOnFile(path, "cannot be written");
  if (hasUnits(codec)) return;
  uint8_t header[kFileHeader] = {'D', 'K', 'I', 'F', 0, 0, kFileHeader, 0, 'V', 'P', '8', '0'};
  putLittle(header + 12, rung.width, 2);
  putLittle(header + 14, rung.height, 2);
  putLittle(header + 16, kFrameRate, 4);
  putLittle(header + 20, 1, 4);
  fwrite(header, 1, sizeof header, file.get());
}

void PacketSink::write(const uint8_t* data, size_t size) {
  total += size;
  if (file) hasUnits(codec) ? writeUnits(data, size) : writeIvf(data, size);
}

void PacketSink::writeIvf(const uint8_t* data, size_t size) {
  uint8_t header[kFrameHeader] = {};
  putLittle(header, size, 4);
  putLittle(header + 4, frameNumber++, 8);
  fwrite(header, 1, sizeof header, file.get());
  fwrite(data, 1, size, file.get());
}

void PacketSink::writeUnits(const uint8_t* data, size_t size) {
  static constexpr uint8_t kStartCode[kLength] = {0, 0, 0, 1};
  while (size > kLength) {
    const size_t told = static_cast<size_t>(data[0]) << 24 | data[1] << 16 | data[2] << 8 | data[3];
    const size_t length = std::min(told, size - kLength);
    fwrite(kStartCode, 1, kLength, file.get());
    fwrite(data + kLength, 1, length, file.get());
    data += kLength + length;
    size -= kLength + length;
  }
}

}  // namespace qvs::bench
