#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "platform/RingQueue.h"
#include "video/decoders/ByteBlock.h"

namespace qvs {

/// A byte sequence to splice, start code in front; null where there is none.
struct SplicedBytes {
  uint8_t* bytes = nullptr;
  uint32_t len = 0;
};

/// A parameter set, or nothing for an empty one.
inline SplicedBytes spliced(std::vector<uint8_t>& set) {
  if (set.empty()) return {};
  return {set.data(), static_cast<uint32_t>(set.size())};
}

/// How NAL units of a codec are told apart.
struct NalRules {
  uint32_t typeShift;
  uint32_t typeMask;
  uint32_t delimiterType;
  std::array<uint32_t, 3> setTypes;  ///< parameter sets in the order in which they are spliced
};

inline constexpr NalRules kNalRulesH264{
    .typeShift = 0, .typeMask = 31, .delimiterType = 9, .setTypes = {7, 8, 8}};
inline constexpr NalRules kNalRulesH265{
    .typeShift = 1, .typeMask = 63, .delimiterType = 35, .setTypes = {32, 33, 34}};  ///< VPS, SPS, PPS

/// What a unit gets beside its own bytes.
struct NalSplices {
  uint8_t* startCode;                ///< 4 bytes
  SplicedBytes delimiter;            ///< for a unit without one
  std::array<SplicedBytes, 3> sets;  ///< for a key frame, each unless the unit has its own
};

/// A length-prefixed access unit, `lengthSize` bytes to a length.
struct NalAccessUnit {
  uint8_t* bytes;
  uint32_t len;
  uint32_t lengthSize;
  uint64_t timecode;  ///< milliseconds
  uint32_t frameType;
};

/// Turns length-prefixed access units into lists of blocks that read as an Annex B stream. Copies nothing.
class NalUnitSplicer {
 public:
  explicit NalUnitSplicer(const NalRules& codecRules) : rules(codecRules) {}

  /// Replaces `list`. kFailure for a length of 0 or past the end; the units before it are queued.
  uint32_t splice(const NalAccessUnit& unit, const NalSplices& splices, RingQueue<ByteBlock>& list);

 private:
  uint32_t findUnits(const NalAccessUnit& unit);

  const NalRules& rules;
  std::vector<SplicedBytes> units;
  std::array<bool, 3> hasSet{};
  bool hasDelimiter = false;
};

}  // namespace qvs
