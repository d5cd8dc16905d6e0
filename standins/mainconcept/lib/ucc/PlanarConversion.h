#pragma once

#include "ucc/kernels/PlaneScaler.h"
#include "ucc/ZimgGraph.h"

namespace qvs::ucc {

/// From a picture of any format to planes of any working form, size and color.
class PlanarConversion {
 public:
  struct Source {
    const PixelFormat* format;
    uint32_t width;
    uint32_t height;
    Color color;
  };
  struct Target {
    WorkingForm form;
    bool alpha;  ///< wanted where the source has it
    uint32_t width;
    uint32_t height;
    Color color;
  };

  /// False when memory fails.
  bool configure(const Target& target, const Source& source);
  /// Allocates only on the first picture whose alpha isn't the same all over. False when memory fails.
  bool run(const ucc_frame_t& source);

  const PlanarPicture& result() const { return graphNeeded ? targetPlanes : sourcePlanes; }
  /// Alpha of the last result, always 8-bit. No data: opaque.
  const PlaneView& alpha() const { return alphaPlane; }

 private:
  bool preparePlain();
  bool runPlain();
  bool runScalingAlpha();
  bool alphaIsUniform() const;
  void narrowAlpha();

  Target wanted{};
  Source given{};
  bool graphNeeded = false;
  bool scaled = false;
  PlanarPicture sourcePlanes;
  PlanarPicture targetPlanes;
  bool byPlanes =
      false;  ///< nothing but the size changes, at 8 bits: the plane scaler is twice as fast as a graph
  PlaneScaler luma;
  PlaneScaler chroma;
  ZimgGraph plain;
  ZimgGraph straightAlpha;
  PlaneView alphaPlane;
};

}  // namespace qvs::ucc
