// FLV's form of H.264 frames made into Annex B.
#include "offline/vod/FlvFrame.h"

#include <algorithm>

#include "contract/FrameTypes.h"
#include "platform/BufferUtils.h"

namespace qvs {
namespace {

constexpr uint32_t kStartCode = 1;
constexpr size_t kStartCodeLength = 4;
constexpr uint32_t kDelimiterLength = 6;
constexpr uint8_t kDelimiter = 9;
constexpr uint8_t kPrimaryIntra = 0x10;
constexpr uint8_t kPrimaryAll = 0x50;
constexpr uint8_t kPrimaryPredicted = 0x30;

}  // namespace

uint32_t annexBHeadLength(uint32_t frameType, uint32_t headerLength) {
  return kDelimiterLength + (frameType == kFrameTypeKey ? headerLength : 0);
}

void writeAnnexBHead(uint32_t frameType, std::span<const uint8_t> header, uint8_t* to) {
  BufferUtils::intToBuffer(kStartCode, to);
  to[4] = kDelimiter;
  to[5] = frameType == kFrameTypeKey             ? kPrimaryIntra
          : frameType == kFrameTypeBidirectional ? kPrimaryAll
                                                 : kPrimaryPredicted;
  if (frameType == kFrameTypeKey) std::copy(header.begin(), header.end(), to + kDelimiterLength);
}

void lengthsToStartCodes(std::span<uint8_t> units) {
  while (units.size() >= kStartCodeLength) {
    const size_t length = BufferUtils::bufferToInt(units.data());
    BufferUtils::intToBuffer(kStartCode, units.data());
    units = units.subspan(kStartCodeLength);
    if (length > units.size()) return;
    units = units.subspan(length);
  }
}

}  // namespace qvs
