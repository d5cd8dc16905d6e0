#include "ladder/IvfStream.h"

#include <cstdlib>
#include <cstring>

namespace qvs::bench {
namespace {

constexpr size_t kFileHeader = 32;
constexpr size_t kFrameHeader = 12;
constexpr uint32_t kLargestFrame = 1u << 26;  ///< bytes

uint32_t little32(const uint8_t* bytes) {
  return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

void putLittle(uint8_t* bytes, uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

[[noreturn]] void fail(const std::string& path, const char* what) {
  std::fprintf(stderr, "%s: %s\n", path.c_str(), what);
  std::exit(2);
}

}  // namespace

IvfSource::IvfSource(const std::string& path) : path(path), file(fopen(path.c_str(), "rb")) {
  uint8_t header[kFileHeader];
  if (!file || fread(header, 1, sizeof header, file.get()) != sizeof header ||
      std::memcmp(header, "DKIF", 4) != 0) {
    fail(path, "not an IVF file");
  }
  vp9 = std::memcmp(header + 8, "VP90", 4) == 0;
  while (readFrame()) ++count;
  if (count == 0) fail(path, "no frames");
  fseek(file.get(), kFileHeader, SEEK_SET);
}

bool IvfSource::readFrame() {
  uint8_t header[kFrameHeader];
  if (fread(header, 1, sizeof header, file.get()) != sizeof header) return false;
  const uint32_t size = little32(header);
  if (size > kLargestFrame) fail(path, "a frame header makes no sense");
  frame.resize(size);
  return fread(frame.data(), 1, size, file.get()) == size;
}

std::span<const uint8_t> IvfSource::next() {
  if (!readFrame()) {
    fseek(file.get(), kFileHeader, SEEK_SET);
    if (!readFrame()) fail(path, "cannot be read again");
  }
  return frame;
}

IvfSink::IvfSink(const std::string& path, uint32_t width, uint32_t height) : file(fopen(path.c_str(), "wb")) {
  if (!file) fail(path, "cannot be written");
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
