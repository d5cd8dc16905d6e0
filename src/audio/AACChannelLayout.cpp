// Reading the channel layout that an AudioSpecificConfig spells out, and writing it on.
#include "audio/AACChannelLayout.h"

namespace qvs {

namespace {

/// Copies bits from a configuration into an element while it reads them.
class BitCopier {
 public:
  BitCopier(std::span<const uint8_t> source, size_t firstBit) : bytes(source), at(firstBit) {}

  void write(uint32_t value, uint32_t bits) {
    for (uint32_t bit = bits; bit-- > 0; ++written) {
      if (written % 8 == 0) element.push_back(0);
      element.back() = static_cast<uint8_t>(element.back() | (value >> bit & 1) << (7 - written % 8));
    }
  }

  /// Past the end: zeros, and `complete` says so.
  uint32_t copy(uint32_t bits) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < bits; ++i, ++at) {
      const bool there = at / 8 < bytes.size();
      value = value << 1 | (there ? bytes[at / 8] >> (7 - at % 8) & 1u : 0u);
    }
    write(value, bits);
    return value;
  }

  bool complete() const { return at <= bytes.size() * 8; }
  void alignElement() { written = element.size() * 8; }

  std::vector<uint8_t> element;

 private:
  std::span<const uint8_t> bytes;
  size_t at;
  size_t written = 0;
};

}  // namespace

std::vector<uint8_t> AACChannelLayout::elementOf(std::span<const uint8_t> config) {
  constexpr size_t kFirstBit = 16;            // behind type, rate, configuration and three flags
  constexpr uint8_t kLayoutElsewhere = 0x7A;  // a configuration, or a core coder whose delay comes first
  constexpr uint32_t kElementId = 5;
  constexpr uint32_t kBitsByList[] = {5, 5, 5, 4, 4, 5};  // front, side, back, low frequency, data, coupling
  constexpr uint32_t kBitsByCount[] = {4, 4, 4, 2, 3, 4};
  if (config.size() < 2 || (config[1] & kLayoutElsewhere) != 0) return {};
  BitCopier bits(config, kFirstBit);
  bits.write(kElementId, 3);
  bits.copy(4 + 2 + 4);  // tag, object type, rate
  uint32_t counts[6];
  for (int list = 0; list < 6; ++list) counts[list] = bits.copy(kBitsByCount[list]);
  for (const uint32_t mixdownBits : {4u, 4u, 3u}) {
    if (bits.copy(1) != 0) bits.copy(mixdownBits);
  }
  for (int list = 0; list < 6; ++list) {
    for (uint32_t i = 0; i < counts[list]; ++i) bits.copy(kBitsByList[list]);
  }
  if (!bits.complete()) return {};
  bits.alignElement();
  bits.write(0, 8);  // no comment
  return bits.element;
}

}  // namespace qvs
