#pragma once

#include <bit>
#include <cstdint>

namespace qvs {

/// Numbers of inputs, from 1 in the order of a connection's bits; 0 for none.
constexpr uint32_t BMDVideoConnectionToCaptureInput(int64_t connection) {
  const auto bits = static_cast<uint64_t>(connection);
  return bits == 0 ? 0 : static_cast<uint32_t>(std::countr_zero(bits)) + 1;
}
constexpr int64_t captureInputToBMDVideoConnection(uint32_t input) {
  return input == 0 || input > 62 ? 0 : int64_t{1} << (input - 1);
}

inline constexpr uint32_t kCaptureInputSDI = 1;

}  // namespace qvs
