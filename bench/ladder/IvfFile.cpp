#include "ladder/IvfFile.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace qvs::bench {
namespace {

constexpr size_t kFileHeader = 32;
constexpr size_t kFrameHeader = 12;

uint32_t little32(const uint8_t* bytes) {
  return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

void putLittle(uint8_t* bytes, uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

}  // namespace

IvfFile::IvfFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  bytes.assign(std::istreambuf_iterator<char>(in), {});
  if (bytes.size() < kFileHeader || std::memcmp(bytes.data(), "DKIF", 4) != 0) {
    std::fprintf(stderr, "%s: not an IVF file\n", path.c_str());
    std::exit(2);
  }
  vp9 = std::memcmp(bytes.data() + 8, "VP90", 4) == 0;
  for (size_t at = kFileHeader; at + kFrameHeader <= bytes.size();) {
    size_t size = little32(bytes.data() + at);
    at += kFrameHeader;
    size = std::min(size, bytes.size() - at);
    frames.emplace_back(bytes.data() + at, size);
    at += size;
  }
  if (frames.empty()) {
    std::fprintf(stderr, "%s: no frames\n", path.c_str());
    std::exit(2);
  }
}

IvfSink::IvfSink(const std::string& path, uint32_t width, uint32_t height) : file(fopen(path.c_str(), "wb")) {
  if (!file) {
    std::fprintf(stderr, "%s: cannot write\n", path.c_str());
    std::exit(2);
  }
  uint8_t header[kFileHeader] = {'D', 'K', 'I', 'F', 0, 0, kFileHeader, 0, 'V', 'P', '8', '0'};
  putLittle(header + 12, width, 2);
  putLittle(header + 14, height, 2);
  putLittle(header + 16, 30, 4);
  putLittle(header + 20, 1, 4);
  fwrite(header, 1, sizeof header, file.get());
}

void IvfSink::write(const void* data, size_t size) {
  total += size;
  if (!file) return;
  uint8_t header[kFrameHeader] = {};
  putLittle(header, size, 4);
  putLittle(header + 4, frameNumber++, 8);
  fwrite(header, 1, sizeof header, file.get());
  fwrite(data, 1, size, file.get());
}

}  // namespace qvs::bench
