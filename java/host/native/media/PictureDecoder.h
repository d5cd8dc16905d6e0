#pragma once

#include "media/AvHandles.h"
#include "media/MediaStatus.h"
#include "media/PictureConverter.h"

#include <cstddef>
#include <cstdint>

namespace qvs::host {

/// Decodes pictures that the transcoder itself has no decoder for: packets in, 8-bit 4:2:0 pictures out, in the order
/// in which they are shown.
class PictureDecoder {
 public:
  /// True where libavcodec has a decoder for it.
  static bool knows(const char* codecName);

  /// `colors`: what the pictures are to be in. `threads`: as many work within a picture.
  MediaStatus open(const AVStream& stream, PictureColors colors, int threads);
  /// Takes a packet; a damaged one fails and costs its own pictures only. `pts`: AV_NOPTS_VALUE where the container
  /// has times of decoding only.
  MediaStatus send(const uint8_t* bytes, size_t size, int64_t pts, int64_t dts, int flags);
  /// What is held back can be received from now on.
  void sendEnd();
  /// True when `picture()` holds the next one; it is good until the next call.
  bool receive();

  const AVFrame& picture() const { return *picture_; }
  /// Time in the stream's time base, AV_NOPTS_VALUE when nobody knows.
  int64_t pts() const { return frame_->best_effort_timestamp; }
  int64_t duration() const { return frame_->pkt_duration; }
  bool isDamaged() const;
  /// Pictures that were lost since the last question.
  int64_t takeLost();

 private:
  AvCodecPtr decoder_;
  AvPacketPtr packet_;
  AvFramePtr frame_;
  PictureConverter converter_;
  const AVFrame* picture_ = nullptr;
  int64_t lost_ = 0;
};

}  // namespace qvs::host
