#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace qvs::bench {

struct FileClose {
  void operator()(FILE* file) const { fclose(file); }
};
using FileHandle = std::unique_ptr<FILE, FileClose>;

/// Reads an IVF file frame by frame, as a player does: what a ladder holds in memory is what it needs. Faults
/// in the file end the program with one line on standard error.
class IvfSource {
 public:
  explicit IvfSource(const std::string& path);

  uint64_t frameCount() const { return count; }
  bool isVP9() const { return vp9; }

  /// Valid until the next call. Behind the last frame comes the first again.
  std::span<const uint8_t> next();

 private:
  bool readFrame();

  std::string path;
  FileHandle file;
  std::vector<uint8_t> frame;
  uint64_t count = 0;
  bool vp9 = false;
};

/// Writes a rendition; without a path it only counts.
class IvfSink {
 public:
  IvfSink() = default;
  IvfSink(const std::string& path, uint32_t width, uint32_t height);
  void write(const void* data, size_t size);

  uint64_t byteCount() const { return total; }

 private:
  FileHandle file;
  uint64_t total = 0;
  uint64_t frameNumber = 0;
};

}  // namespace qvs::bench
