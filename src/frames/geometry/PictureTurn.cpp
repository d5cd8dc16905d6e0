// Sizes and rectangles of turned pictures.

#include "frames/geometry/PictureTurn.h"

#include "contract/ScaleIds.h"
#include "mc_ucc.h"

namespace qvs {
namespace {

struct TurnFlag {
  uint64_t scaleFlag;
  bool PictureTurn::*member;
  uint32_t orientation;
};
constexpr TurnFlag kTurnFlags[] = {
    {kScaleFlagMirror, &PictureTurn::mirror, UCC_ORIENTATION_MIRROR},
    {kScaleFlagTurn90, &PictureTurn::quarter, UCC_ORIENTATION_TURN_90},
    {kScaleFlagTurn180, &PictureTurn::half, UCC_ORIENTATION_TURN_180},
};

}  // namespace

PictureTurn PictureTurn::of(uint64_t scaleFlags) {
  PictureTurn turn;
  for (const TurnFlag& row : kTurnFlags) turn.*row.member = (scaleFlags & row.scaleFlag) != 0;
  return turn;
}

PixelSize PictureTurn::shownSize(PixelSize coded) const {
  return quarter ? PixelSize{coded.height, coded.width} : coded;
}

PixelRect PictureTurn::codedRect(const PixelRect& shown, PixelSize coded) const {
  const PixelSize size = shownSize(coded);
  PixelRect rect = shown;
  // Back by a half, by a quarter, and out of the mirror.
  if (half)
    rect = {size.width - rect.x - rect.width, size.height - rect.y - rect.height, rect.width, rect.height};
  if (quarter) rect = {rect.y, size.width - rect.x - rect.width, rect.height, rect.width};
  if (mirror) rect.x = coded.width - rect.x - rect.width;
  return rect;
}

uint32_t PictureTurn::orientation() const {
  uint32_t bits = 0;
  for (const TurnFlag& row : kTurnFlags) bits |= this->*row.member ? row.orientation : 0;
  return bits;
}

}  // namespace qvs
