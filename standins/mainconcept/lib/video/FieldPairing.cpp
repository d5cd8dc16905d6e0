// Telling when MPEG-2 fields stop pairing up to frames.
#include "video/FieldPairing.h"

#include "video/Mpeg2Header.h"

namespace qvs::mc {

bool FieldPairing::isBrokenBy(const uint8_t* unit, size_t size) {
  auto picture = findMpeg2Picture(unit, size, 0);
  if (!picture) return false;
  started = started || picture->codingType == Mpeg2Picture::kIntra;
  // Both fields of a frame have its number. Before the first intra picture the codec has nothing to mend.
  const bool belongs = picture->structure != structure && picture->structure != Mpeg2Picture::kFrame &&
                       picture->temporalReference == temporalReference;
  const bool broken = waiting && started && !belongs;
  if (broken) waiting = false;
  while (picture && picture->structure != Mpeg2Picture::kFrame) {
    waiting = !waiting;
    structure = picture->structure;
    temporalReference = picture->temporalReference;
    picture = findMpeg2Picture(unit, size, picture->end);
  }
  if (picture) waiting = false;
  return broken;
}

}  // namespace qvs::mc
