#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qvs {

/// An open media file of any size. It may shrink at any time: whoever reads is told how much there was.
class CaptureMediaFile {
 public:
  /// Opens ordinary files alone: a pipe would block the device.
  explicit CaptureMediaFile(const std::string& path);
  ~CaptureMediaFile();
  CaptureMediaFile(const CaptureMediaFile&) = delete;
  CaptureMediaFile& operator=(const CaptureMediaFile&) = delete;

  bool isOpen() const { return descriptor >= 0; }
  uint64_t getSize() const { return size; }  ///< bytes when it was opened

  /// Bytes read.
  size_t read(uint64_t offset, uint8_t* to, size_t bytes) const;

  /// Where the samples lie, in bytes.
  struct Sound {
    uint64_t offset;
    uint64_t size;
  };
  /// By the chunks of a WAV file; a file without them is all sound.
  Sound findSound() const;

 private:
  int descriptor;
  uint64_t size = 0;
};

}  // namespace qvs
