#pragma once

#include <type_traits>

#include "platform/Guard.h"

namespace qvs {

/// Runs `operation` on a stage of a session; kFailure where there is none. Setters without a result count as success.
template <typename Stage, typename Operation>
uint32_t forward(const char* label, Stage* stage, Operation operation) {
  return guarded(label, [&]() -> uint32_t {
    if (stage == nullptr) return kFailure;
    if constexpr (std::is_void_v<std::invoke_result_t<Operation, Stage&>>) {
      operation(*stage);
      return kSuccess;
    } else {
      return operation(*stage);
    }
  });
}

}  // namespace qvs
