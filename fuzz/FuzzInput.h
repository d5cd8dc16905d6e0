#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace qvs::fuzz {

/// Takes values off a fuzz input, little-endian; an input that has run out gives zeros.
class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : rest(data, size) {}

  bool empty() const { return rest.empty(); }
  size_t size() const { return rest.size(); }

  template <typename Value>
  Value take() {
    Value value{};
    const size_t count = std::min(sizeof value, rest.size());
    if (count) std::memcpy(&value, rest.data(), count);
    rest = rest.subspan(count);
    return value;
  }

  /// A value in 0 to `bound` - 1.
  uint32_t below(uint32_t bound) { return take<uint32_t>() % bound; }

  std::span<const uint8_t> bytes(size_t count) {
    const auto taken = rest.first(std::min(count, rest.size()));
    rest = rest.subspan(taken.size());
    return taken;
  }

 private:
  std::span<const uint8_t> rest;
};

}  // namespace qvs::fuzz
