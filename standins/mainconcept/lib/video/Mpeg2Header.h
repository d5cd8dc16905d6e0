#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "video/SequenceInfo.h"

namespace qvs::mc {

/// Reads the sequence header, and its extension, in front of a picture. Nothing without one.
std::optional<SequenceInfo> readMpeg2Header(const uint8_t* bytes, size_t size);

}  // namespace qvs::mc
