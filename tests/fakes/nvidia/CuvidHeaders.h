#pragma once

#include <cstdint>
#include <vector>

#include "nvcuvid.h"

namespace qvs::fakes {

/// H.264 parameter sets that say what a picture's parameters say: for callers that parse by themselves and give the
/// decoder slices only. Empty where they can't be made.
std::vector<uint8_t> h264HeadersOf(const CUVIDPICPARAMS& picture);

}  // namespace qvs::fakes
