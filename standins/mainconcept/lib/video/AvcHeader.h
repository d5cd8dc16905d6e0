#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "video/SequenceInfo.h"

namespace qvs::mc {

/// Reads the H.264 parameter sets in `bytes` (start codes in front). The last sequence parameter set counts.
/// Nothing without one that can be read and a picture parameter set.
std::optional<SequenceInfo> readAvcHeader(const uint8_t* bytes, size_t size);

}  // namespace qvs::mc
