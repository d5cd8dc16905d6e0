#pragma once

#include <string>
#include <vector>

#include "AudioBlocks.h"

namespace qvs::test {

/// Decodes the bytes of a file (ADTS, Ogg) the way a player does, by libavformat and libavcodec. `start` is
/// the time of the first sample that came out, in samples. Throws std::runtime_error where it can't.
AudioClip decodeFile(const std::vector<uint8_t>& bytes, const std::string& format, int64_t* start = nullptr);

/// All bytes behind each other.
std::vector<uint8_t> joined(const std::vector<Unit>& units);

}  // namespace qvs::test
