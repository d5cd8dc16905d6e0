#pragma once

#include <concepts>
#include <cstdint>
#include <exception>
#include <type_traits>
#include <utility>

#include "platform/Status.h"

namespace qvs {

/// Prints "label: what" on standard output, where failures that no logger may see go.
void printException(const char* label, const std::exception& exception);

/// The one place where exceptions end. Runs `operation`; an exception derived from std::exception is printed
/// with `label` ("Class::method") and turned into `failure`. An operation without a result gives nothing.
template <typename Operation, typename Result = std::invoke_result_t<Operation>>
Result guarded(const char* label, Operation&& operation,
               Result failure) requires(!std::same_as<Result, void>) {
  try {
    return std::forward<Operation>(operation)();
  } catch (const std::exception& exception) {
    printException(label, exception);
    return failure;
  }
}

template <typename Operation>
std::invoke_result_t<Operation> guarded(const char* label, Operation&& operation) {
  try {
    return std::forward<Operation>(operation)();
  } catch (const std::exception& exception) {
    printException(label, exception);
  }
  if constexpr (!std::is_void_v<std::invoke_result_t<Operation>>) {
    return static_cast<std::invoke_result_t<Operation>>(kFailure);
  }
}

}  // namespace qvs
