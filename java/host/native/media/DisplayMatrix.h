#pragma once

#include <array>
#include <cstdint>

namespace qvs::host {

/// How a coded picture is turned and mirrored to be shown: x' = ax + cy, y' = bx + dy with y downwards, as a,
/// b, c, d in 16.16 fixed point. Where the picture then lies is left out: it depends on its size.
using DisplayMatrix = std::array<int32_t, 4>;

inline constexpr int32_t kDisplayOne = 1 << 16;
inline constexpr DisplayMatrix kDisplayAsCoded{kDisplayOne, 0, 0, kDisplayOne};

}  // namespace qvs::host
