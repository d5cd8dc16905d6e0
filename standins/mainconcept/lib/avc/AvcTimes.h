#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qvs::mc {

/// Times of the pictures under way, by their number in input order. libx264 is given the numbers; it answers
/// with the numbers that stand for a unit's presentation and decoding time, the latter below 0 for the first
/// units of a stream with B pictures.
class AvcTimes {
 public:
  void add(int64_t number, int64_t time) { times[slot(number)] = time; }
  int64_t presentation(int64_t number) const { return times[slot(number)]; }

  /// Units ahead of the first picture's time are spread before it, or, where that would lead below 0, between
  /// it and the second picture.
  int64_t decoding(int64_t number);

 private:
  static constexpr int64_t kStepMost = int64_t{1} << 50;  ///< its multiples fit beside any time
  static constexpr size_t kSlots = 1024;  ///< look-ahead, threads and reordering stay far below
  static size_t slot(int64_t number) { return static_cast<uint64_t>(number) % kSlots; }

  std::array<int64_t, kSlots> times{};
  int64_t leading = 0;  ///< units before the first picture's number, as the first unit told
  int64_t first = 0, second = 0;
  bool decided = false, squeezed = false;
};

}  // namespace qvs::mc
