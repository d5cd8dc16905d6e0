// How a picture is fitted into one of another shape.
#include "Placement.h"

#include <algorithm>

namespace qvs::plugins {
namespace {

constexpr uint32_t kLetterbox = 1;
constexpr uint32_t kFill = 4;

/// The middle of `whole` in the proportions of `width` to `height`.
Part middle(const Part& whole, double width, double height) {
  Part part = whole;
  const auto even = [](double side, uint32_t most) {
    return std::clamp(static_cast<uint32_t>(side) / 2 * 2, 2u, std::max(most, 2u));
  };
  if (width * whole.height > height * whole.width) {
    part.height = even(whole.width * height / width, whole.height);
  } else {
    part.width = even(whole.height * width / height, whole.width);
  }
  part.x += (whole.width - part.width) / 4 * 2;
  part.y += (whole.height - part.height) / 4 * 2;
  return part;
}

}  // namespace

Placement place(const StreamInfo& stream, uint32_t fitMode, uint32_t width, uint32_t height) {
  Placement placement{{0, 0, stream.frameWidth, stream.frameHeight}, {0, 0, width, height}};
  const double shownWidth = std::max(stream.displayWidth, 1u),
               shownHeight = std::max(stream.displayHeight, 1u);
  if (fitMode == kLetterbox) placement.to = middle(placement.to, shownWidth, shownHeight);
  // In the input's own pixels, which need not be square.
  if (fitMode == kFill) {
    placement.from = middle(placement.from, width * (stream.frameWidth / shownWidth),
                            height * (stream.frameHeight / shownHeight));
  }
  return placement;
}

}  // namespace qvs::plugins
