#pragma once

#include <cstdint>

#include "contract/ParameterType.h"

namespace qvs {

/// The parameter channel of a stage that knows no keys: a set is accepted and dropped, a type query answers
/// unknown, a get yields 0. Derived classes override the forms whose keys they serve.
template <typename Interface>
class WithoutParameters : public Interface {
 public:
  uint32_t applyParameters() override { return 0; }
  uint32_t setParameterValue(uint32_t, int64_t) override { return 0; }
  uint32_t setParameterValue(uint32_t, int64_t*, uint32_t) override { return 0; }
  uint32_t setParameterValue(uint32_t, double) override { return 0; }
  uint32_t setParameterValue(uint32_t, double*, uint32_t) override { return 0; }
  uint32_t getParameterValueType(uint32_t, uint32_t* arrayLength) override {
    clear(arrayLength);
    return kParameterUnknown;
  }
  uint32_t getParameterValue(uint32_t, int64_t* value) override { return clear(value); }
  uint32_t getParameterValue(uint32_t, int64_t*, uint32_t* count) override { return clear(count); }
  uint32_t getParameterValue(uint32_t, double* value) override { return clear(value); }
  uint32_t getParameterValue(uint32_t, double*, uint32_t* count) override { return clear(count); }

 protected:
  template <typename Value>
  static uint32_t clear(Value* value) {
    if (value != nullptr) *value = 0;
    return 0;
  }
};

}  // namespace qvs
