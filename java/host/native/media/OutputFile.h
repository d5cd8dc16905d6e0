#pragma once

#include "media/AvHandles.h"
#include "media/MediaStatus.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace qvs::host {

/// What a container needs to know of the one video stream that it is to hold.
struct OutputStream {
  std::string codecName;  ///< as libavcodec names it: "vp8", "vp9"
  int width = 0;
  int height = 0;
  AVRational timeBase{1, 1000};  ///< unit of the times given to `write`
  AVRational frameRate{0, 1};    ///< 0 when unknown
};

/// Writes one video stream into a new container file. Without `finish` the file is incomplete.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// `format`: "ivf" or "webm", or any other muxer name of libavformat that takes the codec.
  MediaStatus open(const std::string& path, const std::string& format, const OutputStream& stream);

  /// Times must grow from packet to packet; the bytes stay the caller's.
  MediaStatus write(const uint8_t* bytes, size_t length, int64_t pts, bool key);

  /// Writes what the container keeps for its end and closes the file.
  MediaStatus finish();

 private:
  MediaStatus addStream(const OutputStream& stream);
  void closeFile();

  AVFormatContext* format_ = nullptr;
  AvPacketPtr packet_;
  AVRational timeBase_{1, 1000};
  bool headerWritten_ = false;
};

}  // namespace qvs::host
