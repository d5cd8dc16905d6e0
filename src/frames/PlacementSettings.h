#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "frames/geometry/FitPlacement.h"

namespace qvs {

/// How a target wants pictures placed in it. Each rectangle is four values, or null to switch it off.
class PlacementSettings {
 public:
  uint32_t getFitMode() const { return fitMode; }
  void setFitMode(uint32_t value) { fitMode = value; }

  void setCrop(const uint32_t* values) { crop.assign(values); }        ///< source: left, right, top, bottom
  void setSrcRect(const uint32_t* values) { srcRect.assign(values); }  ///< source: x, y, width, height
  void setPadding(const uint32_t* values) { padding.assign(values); }  ///< target: as crop
  void setDstRect(const uint32_t* values) { dstRect.assign(values); }  ///< target: as srcRect
  bool isCrop() const { return crop.isSet; }
  bool isSrcRect() const { return srcRect.isSet; }
  bool isPadding() const { return padding.isSet; }
  bool isDstRect() const { return dstRect.isSet; }
  const uint32_t* getCrop() const { return crop.values.data(); }
  const uint32_t* getSrcRect() const { return srcRect.values.data(); }
  const uint32_t* getPadding() const { return padding.values.data(); }
  const uint32_t* getDstRect() const { return dstRect.values.data(); }

  /// All of it, borrowed.
  PlacementRequest getPlacementRequest() const {
    return {fitMode, crop.orNull(), srcRect.orNull(), padding.orNull(), dstRect.orNull()};
  }

 private:
  struct Rectangle {
    std::array<uint32_t, 4> values{};
    bool isSet = false;

    void assign(const uint32_t* from) {
      isSet = from != nullptr;
      if (isSet) std::copy_n(from, values.size(), values.begin());
    }
    const uint32_t* orNull() const { return isSet ? values.data() : nullptr; }
  };

  uint32_t fitMode = kFitStretch;
  Rectangle crop, srcRect, padding, dstRect;
};

}  // namespace qvs
