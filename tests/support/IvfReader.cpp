#include "support/IvfReader.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace qvs::test {

namespace {

constexpr size_t kFrameHeaderSize = 12;
constexpr size_t kFileHeaderSize = 32;

uint64_t littleEndian(const uint8_t* bytes, size_t count) {
  uint64_t value = 0;
  for (size_t i = count; i > 0; --i) value = value << 8 | bytes[i - 1];
  return value;
}

}  // namespace

CodedStream readIvf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
  CodedStream stream;
  if (bytes.size() < kFileHeaderSize || std::memcmp(bytes.data(), "DKIF", 4) != 0) return stream;
  stream.codecVersion = std::memcmp(&bytes[8], "VP90", 4) == 0 ? 9 : 8;
  stream.width = static_cast<uint32_t>(littleEndian(&bytes[12], 2));
  stream.height = static_cast<uint32_t>(littleEndian(&bytes[14], 2));
  size_t at = littleEndian(&bytes[6], 2);
  while (at + kFrameHeaderSize <= bytes.size()) {
    const size_t size = littleEndian(&bytes[at], 4);
    const uint64_t timecode = littleEndian(&bytes[at + 4], 8);
    at += kFrameHeaderSize;
    const size_t len = std::min(size, bytes.size() - at);
    const auto begin = bytes.begin() + static_cast<ptrdiff_t>(at);
    stream.packets.push_back({{begin, begin + static_cast<ptrdiff_t>(len)}, timecode});
    at += len;
  }
  return stream;
}

}  // namespace qvs::test
