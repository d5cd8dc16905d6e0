// Length-prefixed access units made ready for the codec, with byte sequences spliced in.
#include "video/decoders/NalUnitSplicer.h"

#include "contract/FrameTypes.h"
#include "platform/Status.h"

namespace qvs {

namespace {

constexpr uint32_t kStartCodeLength = 4;

uint32_t readLength(const uint8_t* bytes, uint32_t size) {
  uint32_t value = 0;
  for (uint32_t i = 0; i < size; ++i) value = value << 8 | bytes[i];
  return value;
}

}  // namespace

uint32_t NalUnitSplicer::findUnits(const NalAccessUnit& unit) {
  units.clear();
  hasSet.fill(false);
  hasDelimiter = false;
  uint32_t at = 0;
  // `at` never passes the end: each length is compared with what is left.
  while (unit.len - at >= unit.lengthSize) {
    const uint32_t len = readLength(unit.bytes + at, unit.lengthSize);
    at += unit.lengthSize;
    if (len == 0 || len > unit.len - at) return kFailure;
    const uint32_t type = unit.bytes[at] >> rules.typeShift & rules.typeMask;
    hasDelimiter = hasDelimiter || type == rules.delimiterType;
    for (size_t set = 0; set < hasSet.size(); ++set) hasSet[set] = hasSet[set] || type == rules.setTypes[set];
    units.push_back({unit.bytes + at, len});
    at += len;
  }
  return kSuccess;
}

uint32_t NalUnitSplicer::splice(const NalAccessUnit& unit, const NalSplices& splices,
                                RingQueue<ByteBlock>& list) {
  list.clear();
  const uint32_t result = findUnits(unit);
  const auto add = [&](const SplicedBytes& piece) {
    if (piece.bytes != nullptr) list.push({piece.bytes, piece.len, unit.timecode, 0});
  };
  // A delimiter comes first in a unit, parameter sets next.
  if (!hasDelimiter) add(splices.delimiter);
  for (size_t set = 0; unit.frameType == kFrameTypeKey && set < hasSet.size(); ++set) {
    if (!hasSet[set]) add(splices.sets[set]);
  }
  for (const SplicedBytes& nal : units) {
    add({splices.startCode, kStartCodeLength});
    add(nal);
  }
  // Only the first block carries the type: it is what starts a unit.
  if (!list.empty()) list.front().frameType = unit.frameType;
  return result;
}

}  // namespace qvs
