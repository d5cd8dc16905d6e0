#pragma once

#include "media/AvHandles.h"
#include "media/MediaStatus.h"

#include <cstdint>

namespace qvs::host {

/// The numbers are those of ImageFormat on the Java side.
enum class ImageFormat { kJpeg = 0, kPng = 1, kWebp = 2 };

/// Pictures of B, G, R, A (never transparent) as files of one format. Keeps its codec while the size stays.
class ImageEncoder {
 public:
  explicit ImageEncoder(ImageFormat format) : format_(format) {}

  /// `pixels` in rows without padding. The bytes are those of `packet()`.
  MediaStatus encode(const uint8_t* pixels, int width, int height);
  const AVPacket& packet() const { return *packet_; }

 private:
  MediaStatus open(int width, int height);

  ImageFormat format_;
  AvCodecPtr codec_;
  SwsPtr converter_;
  AvFramePtr frame_;
  AvPacketPtr packet_;
};

}  // namespace qvs::host
