#pragma once

#include "video/scaling/device/ImageInfo.h"

namespace qvs {

/// Operations on pictures in a device's memory. `target` says what is wanted; its memory is used where it
/// has some. Each gives the result, whose `data` is empty after a failure.
class IVideoImageProcessor {
 public:
  virtual ~IVideoImageProcessor() = default;

  virtual ImageInfo scale(const ImageInfo& source, ImageInfo target) = 0;

  /// Draws `overlay` on the part of `frame` that its region names; `target` is the whole picture.
  virtual ImageInfo overlay(const ImageInfo& frame, ImageInfo target, const ImageInfo& overlay) = 0;
  virtual ImageInfo rotate(const ImageInfo& source, ImageInfo target) = 0;
};

}  // namespace qvs
