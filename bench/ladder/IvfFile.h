#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace qvs::bench {

/// A whole IVF file in memory, so that no disk is inside a measurement.
class IvfFile {
 public:
  /// Ends the program with one line on standard error when `path` is no IVF file.
  explicit IvfFile(const std::string& path);

  size_t frameCount() const { return frames.size(); }
  std::span<uint8_t> frame(size_t index) { return frames[index % frames.size()]; }
  bool isVP9() const { return vp9; }

 private:
  std::vector<uint8_t> bytes;
  std::vector<std::span<uint8_t>> frames;
  bool vp9 = false;
};

/// Writes a rendition; a null path writes nothing.
class IvfSink {
 public:
  IvfSink() = default;
  IvfSink(const std::string& path, uint32_t width, uint32_t height);
  void write(const void* data, size_t size);

  uint64_t byteCount() const { return total; }

 private:
  struct Closer {
    void operator()(FILE* file) const { fclose(file); }
  };
  std::unique_ptr<FILE, Closer> file;
  uint64_t total = 0;
  uint64_t frameNumber = 0;
};

}  // namespace qvs::bench
