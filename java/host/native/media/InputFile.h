#pragma once

#include "media/AvHandles.h"
#include "media/MediaStatus.h"

#include <cstdint>
#include <memory>
#include <string>

namespace qvs::host {

/// Reads the packets of the best video stream of a container file, in file order.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  /// One line of text on failure: unreadable, no known container, or no video stream.
  MediaStatus open(const std::string& path);

  /// Sets `atEnd` when the file is used up; otherwise `packet()` is the next video packet.
  MediaStatus next(bool* atEnd);

  const AVPacket& packet() const { return *packet_; }
  /// Presentation time of the current packet in units of `stream().time_base`; never missing.
  int64_t pts() const { return pts_; }

  const AVStream& stream() const { return *format_->streams[streamIndex_]; }
  const char* codecName() const;
  /// "" when the container does not tell.
  const char* pixelFormatName() const;
  /// Milliseconds, -1 when unknown.
  int64_t durationMs() const;
  AVRational frameRate() const;

 private:
  int64_t timeOf(const AVPacket& packet) const;

  AVFormatContext* format_ = nullptr;
  AvPacketPtr packet_;
  int streamIndex_ = -1;
  int64_t pts_ = 0;
  int64_t nextPts_ = 0;
};

}  // namespace qvs::host
