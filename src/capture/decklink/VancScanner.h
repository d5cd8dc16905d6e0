#pragma once

#include <array>
#include <cstdint>
#include <span>

#include <DeckLinkAPI.h>

namespace qvs {

/// A packet in a line of the vertical blanking. `words` are its data as they came, ten bits each.
struct VancPacket {
  uint8_t did;
  uint8_t sdid;  ///< of type 2, else 0
  uint8_t dbn;   ///< of type 1, else 0
  uint16_t checksum;
  std::span<const uint16_t> words;
};

/// Finds packets in samples of ten bits.
class VancScanner {
 public:
  explicit VancScanner(std::span<const uint16_t> words) : words(words) {}

  /// The next packet whose checksum is right; false at the end of the line.
  bool next(VancPacket* packet);
  uint32_t badChecksums() const { return bad; }

 private:
  std::span<const uint16_t> words;
  size_t at = 0;
  uint32_t bad = 0;
};

/// Lines of a mode that may have packets, both ends included. From `mid1` the walk goes on at `mid2`; 0 where it doesn't.
struct VancLines {
  uint32_t start;
  uint32_t mid1;
  uint32_t mid2;
  uint32_t stop;

  static VancLines of(BMDDisplayMode mode);
  /// The device's own numbers where start and stop are set, else the mode's.
  static VancLines of(const std::array<int32_t, 4>& wanted, BMDDisplayMode mode);
  uint32_t after(uint32_t line) const { return line == mid1 && mid2 > mid1 ? mid2 : line + 1; }
};

}  // namespace qvs
