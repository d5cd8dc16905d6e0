#pragma once

#include "media/InputFile.h"

namespace qvs::host {

/// Decodes a file with libavcodec, picture by picture in presentation order: the judge's own eyes,
/// independent of the transcoder under test.
class FrameReader {
 public:
  MediaStatus open(const std::string& path);

  /// Sets `atEnd` when no picture is left; otherwise `frame()` holds the next one.
  MediaStatus next(bool* atEnd);

  const AVFrame& frame() const { return *frame_; }
  /// Milliseconds, fractions kept.
  double timeMs() const;

 private:
  MediaStatus feed();

  InputFile file_;
  AvCodecPtr decoder_;
  AvFramePtr frame_;
};

}  // namespace qvs::host
