#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace qvs {

/// The bytes of a frame while it is put together. Reused, so that it allocates only until it has met its longest.
class FrameBuffer {
 public:
  void clear() { bytes.clear(); }
  size_t size() const { return bytes.size(); }
  std::span<const uint8_t> all() const { return bytes; }
  std::span<const uint8_t> from(size_t begin) const { return std::span(bytes).subspan(begin); }
  void shrink(size_t size) { bytes.resize(size); }

  template <typename Number>
  void put(Number value) requires(std::is_arithmetic_v<Number> || std::is_enum_v<Number>) {
    std::memcpy(extend(sizeof(value)), &value, sizeof(value));
  }

  /// With its length in front.
  void putText(std::string_view text) {
    put(static_cast<uint32_t>(text.size()));
    std::memcpy(extend(text.size()), text.data(), text.size());
  }

  /// Room for so many bytes, to be written by the caller before the next call.
  uint8_t* extend(size_t count) {
    const size_t begin = bytes.size();
    bytes.resize(begin + count);
    return bytes.data() + begin;
  }

 private:
  std::vector<uint8_t> bytes;
};

}  // namespace qvs
