#pragma once

#include <cstdint>

namespace qvs {

/// Types of a parameter's value.
enum ParameterType : uint32_t {
  kParameterUnknown = 0,
  kParameterLong = 1,
  kParameterLongArray = 2,
  kParameterDouble = 3,
  kParameterDoubleArray = 4,
};

}  // namespace qvs
