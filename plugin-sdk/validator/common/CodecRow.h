#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qvs::validator {

/// A codec as the transcoder numbers it.
struct CodecRow {
  const char* name;
  uint32_t id;
  uint32_t version;
  bool hasUnits;  ///< made of NAL units
};

enum CodecNumber : uint32_t { kUnknownCodec, kH264, kH265, kVP8, kVP9, kMPEG2, kCodecCount };
const CodecRow& codecRow(uint32_t number);

/// The codecs that a text names, be it a list or the name of a library: "h26x" is two. {kUnknownCodec} for none.
std::vector<uint32_t> codecsNamed(const std::string& text);

}  // namespace qvs::validator
