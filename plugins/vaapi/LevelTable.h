#pragma once

#include <cstdint>
#include <span>

namespace qvs::vaapi {

/// A level's limits, in the codec's own units of size.
struct LevelRow {
  uint32_t level;  ///< as the stream tells it
  uint64_t sizePerSecond;
  uint64_t size;      ///< of a picture
  uint64_t kilobits;  ///< a second
};

/// The lowest level that holds the stream; the highest where none does.
inline uint32_t levelFor(std::span<const LevelRow> rows, uint64_t size, double rate, uint32_t bitsPerSecond) {
  for (const LevelRow& row : rows) {
    if (size <= row.size && static_cast<double>(size) * rate <= static_cast<double>(row.sizePerSecond) &&
        bitsPerSecond <= row.kilobits * 1000) {
      return row.level;
    }
  }
  return rows.back().level;
}

}  // namespace qvs::vaapi
