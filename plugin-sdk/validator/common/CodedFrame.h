#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace qvs::validator {

/// A coded picture on either side of a plug-in.
struct CodedFrame {
  std::vector<uint8_t> bytes;
  uint32_t type = 0;      ///< QVS_FRAME_...
  uint64_t timecode = 0;  ///< milliseconds, decoding
  int64_t offset = 0;     ///< milliseconds, presentation minus decoding

  int64_t presentation() const { return static_cast<int64_t>(timecode) + offset; }
};

using Bytes = std::span<const uint8_t>;

/// Each unit behind a length of four bytes. False where the lengths don't come out at the end.
bool forEachUnit(Bytes frame, const std::function<void(Bytes unit)>& each);

/// Each unit behind a start code.
void forEachAnnexBUnit(Bytes bytes, const std::function<void(Bytes unit)>& each);

std::vector<uint8_t> lengthsToStartCodes(Bytes frame);
std::vector<uint8_t> startCodesToLengths(Bytes bytes);

/// Empty, or what the contract doesn't allow about the frame's bytes: their framing, the parameter sets in front of a
/// key picture, a frame type that the bytes contradict.
std::string wrongBytes(uint32_t codec, const CodedFrame& frame);

}  // namespace qvs::validator
