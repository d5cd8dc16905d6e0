#pragma once

#include "ucc/kernels/PlaneScaler.h"
#include "ucc/ZimgGraph.h"

namespace qvs::ucc {

/// From a picture of any format to planes of any working form, size and colour.
class PlanarConversion {
 public:
  struct Source {
    const PixelFormat* format;
    uint32_t width;
    uint32_t height;
    Colour colour;
  };
  struct Target {
    WorkingForm form;
    bool alpha;  ///< wanted where the source has it
    uint32_t width;
    uint32_t height;
    Colour colour;
  };

  /// False when memory fails.
  bool configure(const Target& target, const Source& source);
  /// Allocates only on the first picture whose alpha isn't the same all over. False when memory fails.
  bool run(const ucc_frame_t& source);

  const PlanarPicture& result() const { return graphNeeded_ ? target_ : source_; }
  /// Alpha of the last result, always 8-bit. No data: opaque.
  const PlaneView& alpha() const { return alpha_; }

 private:
  bool preparePlain();
  bool runPlain();
  bool runScalingAlpha();
  bool alphaIsUniform() const;
  void narrowAlpha();

  Target wanted_{};
  Source given_{};
  bool graphNeeded_ = false;
  bool scaled_ = false;
  PlanarPicture source_;
  PlanarPicture target_;
  bool byPlanes_ =
      false;  ///< nothing but the size changes, at 8 bits: the plane scaler is twice as fast as a graph
  PlaneScaler luma_;
  PlaneScaler chroma_;
  ZimgGraph plain_;
  ZimgGraph straightAlpha_;
  PlaneView alpha_;
};

}  // namespace qvs::ucc
