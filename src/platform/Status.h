#pragma once

#include <cstdint>

namespace qvs {

/// Result of an operation: 0 success, kFailure the general failure, other numbers where an operation says so.
inline constexpr uint32_t kSuccess = 0;
inline constexpr uint32_t kFailure = 0xFFFFFFFFu;

}  // namespace qvs
