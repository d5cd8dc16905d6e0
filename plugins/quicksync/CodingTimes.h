#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qvs::plugins {

/// Decoding times of coded pictures, made of the times of the pictures that went in: with pictures coded out of order
/// the n-th coded one is decoded when the picture `delay` before the n-th is shown.
class CodingTimes {
 public:
  /// `delay` is the number of pictures by which coding runs ahead of showing; `step` that between two pictures,
  /// milliseconds.
  void start(uint32_t delay, double step);

  void add(uint64_t timecode) { entered[added++ % kSlots] = timecode; }

  /// Pictures that went in and haven't come out.
  uint64_t pending() const { return added - given; }

  /// The decoding time of the next coded picture.
  uint64_t next();

 private:
  static constexpr size_t kSlots = 512;  ///< look-ahead, depth and reordering stay far below
  uint64_t leading(uint64_t number) const;

  std::array<uint64_t, kSlots> entered{};
  uint64_t added = 0;
  uint64_t given = 0;
  uint32_t delay = 0;
  double step = 0;
};

}  // namespace qvs::plugins
