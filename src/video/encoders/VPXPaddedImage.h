#pragma once

#include <vpx/vpx_image.h>

#include <memory>

namespace qvs {

/// A picture of its own for frames of odd width or height. Frames round chroma sizes down, libvpx reads them
/// rounded up: the missing last chroma column and row are replicated here. Made once per size.
class VPXPaddedImage {
 public:
  /// `image` itself where its sizes are even, else a padded copy that lives until the next call. Throws where
  /// memory fails.
  const vpx_image_t* cover(const vpx_image_t& image);

 private:
  struct Deleter {
    void operator()(vpx_image_t* image) const { vpx_img_free(image); }
  };

  std::unique_ptr<vpx_image_t, Deleter> padded;
};

}  // namespace qvs
