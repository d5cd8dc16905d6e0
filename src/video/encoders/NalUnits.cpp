// Start codes turned to lengths in coded access units, with the frame's type read on the way.
#include "video/encoders/NalUnits.h"

#include <algorithm>
#include <initializer_list>
#include <span>

#include "platform/BufferUtils.h"

namespace qvs {

namespace {

constexpr int64_t kStartCodeLen = 4;
constexpr int64_t kNone = -1;
constexpr uint32_t kTypeUnusable = 0;
constexpr uint32_t kTypeKey = 1;
constexpr uint32_t kTypePredicted = 2;
constexpr uint32_t kTypeBidirectional = 3;

/// What a codec's units look like behind their start code.
struct NalSyntax {
  unsigned typeShift;
  uint8_t typeMask;
  uint8_t delimiter;            ///< type of an access-unit delimiter
  int64_t delimiterBodyOffset;  ///< from the start code to the byte that tells the picture types
  std::initializer_list<uint8_t> keyTypes;
  int endOfSequence;  ///< -1 where it isn't looked at
};

constexpr NalSyntax kH264 = {0, 31, 9, 5, {5, 7, 8}, 10};
constexpr NalSyntax kH265 = {1, 63, 35, 6, {19, 20}, -1};

bool isStartCode(const uint8_t* bytes) {
  return bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 0 && bytes[3] == 1;
}

/// Start of a start code that covers position `at`, or kNone.
int64_t startCodeAround(std::span<const uint8_t> bytes, int64_t at) {
  for (int64_t start = at; start >= std::max<int64_t>(0, at - 3); --start) {
    if (isStartCode(&bytes[static_cast<size_t>(start)])) return start;
  }
  return kNone;
}

uint32_t delimiterType(uint8_t body, uint32_t current) {
  if (body == 0x10) return kTypeKey;
  return body == 0x50 ? kTypeBidirectional : current;
}

/// The frame type after the unit whose start code is at `start`.
uint32_t classify(std::span<const uint8_t> bytes, int64_t start, const NalSyntax& syntax, uint32_t current) {
  const uint8_t type =
      bytes[static_cast<size_t>(start + kStartCodeLen)] >> syntax.typeShift & syntax.typeMask;
  if (type == syntax.delimiter) {
    const auto body = static_cast<size_t>(start + syntax.delimiterBodyOffset);
    return body < bytes.size() ? delimiterType(bytes[body], current) : current;
  }
  if (std::find(syntax.keyTypes.begin(), syntax.keyTypes.end(), type) != syntax.keyTypes.end())
    return kTypeKey;
  return type == syntax.endOfSequence ? kTypeUnusable : current;
}

void writeLength(std::span<uint8_t> bytes, int64_t start, int64_t end) {
  BufferUtils::intToBuffer(static_cast<uint32_t>(end - start - kStartCodeLen),
                           &bytes[static_cast<size_t>(start)]);
}

uint32_t process(std::span<uint8_t> bytes, const NalSyntax& syntax) {
  const auto len = static_cast<int64_t>(bytes.size());
  uint32_t frameType = kTypePredicted;
  int64_t previous = kNone;
  // Only at a byte of 0 or 1 can a start code cover the position, so every fourth byte finds them all.
  for (int64_t at = 0; at < len - kStartCodeLen; at += kStartCodeLen) {
    if (bytes[static_cast<size_t>(at)] > 1) continue;
    const int64_t start = startCodeAround(bytes, at);
    if (start == kNone) continue;
    if (previous != kNone) writeLength(bytes, previous, start);
    previous = at = start;
    frameType = classify(bytes, start, syntax, frameType);
    if (frameType == kTypeUnusable && len < 6) break;
  }
  if (previous != kNone) writeLength(bytes, previous, len);
  return frameType;
}

}  // namespace

uint32_t NalUnits::processH264Frame(uint8_t* bytes, uint32_t len) {
  return process({bytes, len}, kH264);
}

uint32_t NalUnits::processH265Frame(uint8_t* bytes, uint32_t len) {
  return process({bytes, len}, kH265);
}

}  // namespace qvs
