#pragma once

#include <va/va.h>

#include <cstdint>
#include <vector>

#include "EncoderSession.h"
#include "Outcome.h"

namespace qvs::vaapi {

/// Writes pictures into surfaces in one pass, YV12 to NV12: into the surface itself where the driver lets it be
/// mapped, else into an image that the driver copies.
class PictureUpload {
 public:
  ~PictureUpload() { end(); }

  /// Tries the ways on one of the surfaces. An image for each of `slots` pictures in flight, where images are needed.
  Outcome begin(VADisplay onDisplay, VASurfaceID surface, uint32_t pictureWidth, uint32_t pictureHeight,
                size_t slots);
  Outcome put(const plugins::Picture& picture, VASurfaceID surface, size_t slot);
  void end();

 private:
  Outcome fill(const plugins::Picture& picture, const VAImage& image);
  bool canDerive(VASurfaceID surface);
  Outcome findFormat(VAImageFormat& format);

  VADisplay display = nullptr;
  uint32_t width = 0;  ///< of what is coded of a picture
  uint32_t height = 0;
  std::vector<VAImage> images;  ///< one a slot; none where surfaces are mapped
};

}  // namespace qvs::vaapi
