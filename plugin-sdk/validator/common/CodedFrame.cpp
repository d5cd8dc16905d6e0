// What can be told of a coded picture from its bytes alone.
#include "common/CodedFrame.h"

#include <algorithm>
#include <iterator>

#include "common/CodecRow.h"
#include "qvs/video_frame.h"

namespace qvs::validator {
namespace {

constexpr uint8_t kStartCode[] = {0, 0, 0, 1};

void appendUnit(std::vector<uint8_t>& to, Bytes head, Bytes unit) {
  to.insert(to.end(), head.begin(), head.end());
  to.insert(to.end(), unit.begin(), unit.end());
}

// What a NAL unit is for, whatever the codec.
enum UnitKind : uint32_t { kOther, kKeySlice, kSlice, kVideoSet, kSequenceSet, kPictureSet };

UnitKind kindOf(uint32_t codec, Bytes unit) {
  if (codec == kH264) {
    const unsigned type = unit[0] & 31;
    if (type == 5) return kKeySlice;
    if (type >= 1 && type <= 4) return kSlice;
    return type == 7 ? kSequenceSet : type == 8 ? kPictureSet : kOther;
  }
  const unsigned type = unit[0] >> 1 & 63;
  if (type >= 16 && type <= 23) return kKeySlice;
  if (type < 16) return kSlice;
  return type == 32 ? kVideoSet : type == 33 ? kSequenceSet : type == 34 ? kPictureSet : kOther;
}

std::string wrongUnits(uint32_t codec, const CodedFrame& frame) {
  if (frame.bytes.size() > 4 &&
      std::equal(std::begin(kStartCode), std::end(kStartCode), frame.bytes.begin())) {
    return "has start codes where lengths belong";
  }
  bool forbidden = false;
  uint32_t seen = 0;  // a bit for each kind
  bool setsAreFirst = true;
  const uint32_t wanted = 1u << kSequenceSet | 1u << kPictureSet | (codec == kH265 ? 1u << kVideoSet : 0u);
  const bool whole = forEachUnit(frame.bytes, [&](Bytes unit) {
    forbidden |= (unit[0] & 0x80) != 0;
    const UnitKind kind = kindOf(codec, unit);
    if (kind == kKeySlice && (seen & wanted) != wanted) setsAreFirst = false;
    seen |= 1u << kind;
  });
  if (!whole) return "has lengths that don't come out at its end";
  if (forbidden) return "has a unit whose first bit is set";
  const bool isKey = (seen & 1u << kKeySlice) != 0;
  if (!isKey && (seen & 1u << kSlice) == 0) return "has no slice";
  if (isKey && !setsAreFirst) return "is a key frame without the parameter sets in front";
  if (isKey != (frame.type == QVS_FRAME_KEY)) {
    return isKey ? "is a key frame and is told as none" : "is told as a key frame and is none";
  }
  return {};
}

// VP8 and VP9 tell a key frame in the first byte.
std::string wrongVpx(uint32_t codec, const CodedFrame& frame) {
  const uint8_t head = frame.bytes[0];
  if (codec == kVP9 && head >> 6 != 2) return "does not begin as a VP9 frame does";
  const bool isKey = codec == kVP8 ? (head & 1) == 0 : (head & 0x0C) == 0;
  if (isKey != (frame.type == QVS_FRAME_KEY)) {
    return isKey ? "is a key frame and is told as none" : "is told as a key frame and is none";
  }
  return {};
}

}  // namespace

bool forEachUnit(Bytes frame, const std::function<void(Bytes unit)>& each) {
  while (frame.size() >= 4) {
    const size_t length = size_t{frame[0]} << 24 | size_t{frame[1]} << 16 | size_t{frame[2]} << 8 | frame[3];
    if (length == 0 || length > frame.size() - 4) return false;
    each(frame.subspan(4, length));
    frame = frame.subspan(4 + length);
  }
  return frame.empty();
}

void forEachAnnexBUnit(Bytes bytes, const std::function<void(Bytes unit)>& each) {
  const auto next = [&](auto from) {
    return std::search(from, bytes.end(), kStartCode + 1, std::end(kStartCode));
  };
  for (auto code = next(bytes.begin()); code != bytes.end();) {
    const auto begin = code + 3;
    code = next(begin);
    auto end = code;
    while (end != begin && end[-1] == 0) --end;
    if (end != begin)
      each(bytes.subspan(static_cast<size_t>(begin - bytes.begin()), static_cast<size_t>(end - begin)));
  }
}

std::vector<uint8_t> lengthsToStartCodes(Bytes frame) {
  std::vector<uint8_t> out;
  forEachUnit(frame, [&](Bytes unit) { appendUnit(out, kStartCode, unit); });
  return out;
}

std::vector<uint8_t> startCodesToLengths(Bytes bytes) {
  std::vector<uint8_t> out;
  forEachAnnexBUnit(bytes, [&](Bytes unit) {
    const uint8_t length[] = {static_cast<uint8_t>(unit.size() >> 24),
                              static_cast<uint8_t>(unit.size() >> 16), static_cast<uint8_t>(unit.size() >> 8),
                              static_cast<uint8_t>(unit.size())};
    appendUnit(out, length, unit);
  });
  return out;
}

std::string wrongBytes(uint32_t codec, const CodedFrame& frame) {
  if (frame.bytes.empty()) return "is empty";
  if (frame.type == QVS_FRAME_UNKNOWN || frame.type > QVS_FRAME_BIDIRECTIONAL) {
    return "is of type " + std::to_string(frame.type) + ", which is none";
  }
  if (codecRow(codec).hasUnits) return wrongUnits(codec, frame);
  return codec == kVP8 || codec == kVP9 ? wrongVpx(codec, frame) : std::string{};
}

}  // namespace qvs::validator
