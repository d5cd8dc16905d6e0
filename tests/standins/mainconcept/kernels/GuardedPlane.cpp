#include "GuardedPlane.h"

#include <algorithm>
#include <cstring>

namespace qvs::ucc {

GuardedPlane::GuardedPlane(size_t rowBytes, uint32_t rows, size_t gap, Guard guard)
    : bytesInRow(rowBytes),
      rowCount(rows),
      step(rowBytes + gap),
      memory(rows == 0 ? 0 : step * (rows - 1) + rowBytes,
             guard == Guard::kBehind ? test::GuardedBytes::kEnd : test::GuardedBytes::kStart) {}

void GuardedPlane::fill(uint8_t value) {
  for (uint32_t y = 0; y < rowCount; ++y) std::memset(row(y), value, bytesInRow);
}

void GuardedPlane::fillRandom(std::mt19937& random) {
  for (uint32_t y = 0; y < rowCount; ++y) {
    std::generate_n(row(y), bytesInRow, [&] { return static_cast<uint8_t>(random() >> 8); });
  }
}

void GuardedPlane::fillExtremes(std::mt19937& random) {
  for (uint32_t y = 0; y < rowCount; ++y) {
    std::generate_n(row(y), bytesInRow, [&] { return static_cast<uint8_t>((random() >> 8 & 1) * 255); });
  }
}

void GuardedPlane::copyFrom(const std::vector<uint8_t>& pixels) {
  for (uint32_t y = 0; y < rowCount; ++y) std::memcpy(row(y), pixels.data() + y * bytesInRow, bytesInRow);
}

std::vector<uint8_t> GuardedPlane::pixels() const {
  std::vector<uint8_t> all;
  for (uint32_t y = 0; y < rowCount; ++y) all.insert(all.end(), row(y), row(y) + bytesInRow);
  return all;
}

bool GuardedPlane::gapsIntact() const {
  for (uint32_t y = 0; y + 1 < rowCount; ++y) {
    const uint8_t* gap = row(y) + bytesInRow;
    if (!std::all_of(gap, gap + (step - bytesInRow),
                     [](uint8_t byte) { return byte == test::GuardedBytes::kFill; }))
      return false;
  }
  return memory.slackIntact();
}

std::vector<CpuLevel> vectorLevels() {
  std::vector<CpuLevel> levels;
  for (int level = 1; level <= static_cast<int>(detectedCpuLevel()); ++level) {
    levels.push_back(static_cast<CpuLevel>(level));
  }
  return levels;
}

std::string nameOf(CpuLevel level) {
  static const char* const names[kCpuLevels] = {"plain", "AVX2", "AVX-512"};
  return names[static_cast<int>(level)];
}

}  // namespace qvs::ucc
