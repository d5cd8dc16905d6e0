#pragma once

#include <cstdint>
#include <span>

namespace qvs {

/// Bytes in front of the units of an FLV packet of AVC: frame and codec, kind of packet, composition time.
inline constexpr uint32_t kFlvVideoHeader = 5;

/// Bytes that stand in front of a frame's units in Annex B: a delimiter and, at a key frame, the header.
uint32_t annexBHeadLength(uint32_t frameType, uint32_t headerLength);

/// Writes them; `header` is in Annex B already.
void writeAnnexBHead(uint32_t frameType, std::span<const uint8_t> header, uint8_t* to);

/// Puts start codes where the lengths of units stand, four bytes each. A length past the end ends the walk; fewer than
/// four bytes at the end stay as they are.
void lengthsToStartCodes(std::span<uint8_t> units);

}  // namespace qvs
