#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "CodedFrames.h"

namespace qvs::plugins {

/// Timecodes of the pictures inside a codec. The codec is given their numbers, which a jump of the feed's clock doesn't
/// trouble; it answers with the number that a coded frame presents, and the one at whose place it is decoded, below 0
/// for the first frames of a stream with B pictures.
class PictureTimes {
 public:
  void restart() { *this = {}; }

  /// The number to give to the codec.
  int64_t add(uint64_t timecode) {
    times[slot(next)] = static_cast<int64_t>(timecode);
    return next++;
  }

  /// Of a coded frame; to be asked in coding order.
  void fill(FrameInfo& info, int64_t presented, int64_t decoded);

 private:
  static constexpr size_t kSlots = 1024;  ///< look-ahead, threads and reordering stay far below
  static size_t slot(int64_t number) { return static_cast<uint64_t>(number) % kSlots; }
  int64_t decoding(int64_t number);

  std::array<int64_t, kSlots> times{};
  int64_t next = 0;
  int64_t leading = -1;  ///< frames ahead of the first picture's place, as the first frame tells
  int64_t first = 0, step = 0;
};

}  // namespace qvs::plugins
