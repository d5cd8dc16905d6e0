// Coded units for a decoder: from lengths to start codes.
#include "UnitInput.h"

#include <algorithm>
#include <optional>

namespace qvs::plugins {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr uint8_t kStartCode[] = {0, 0, 0, 1};

bool beginsWithStartCode(Bytes bytes) {
  return bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == 0 &&
         (bytes[2] == 1 || (bytes[2] == 0 && bytes[3] == 1));
}

/// Takes `size` bytes of length and the unit behind them off the front. Empty where they lead beyond the end.
std::optional<Bytes> takeUnit(Bytes& bytes, uint32_t size) {
  if (bytes.size() < size) return {};
  size_t length = 0;
  for (uint32_t i = 0; i < size; ++i) length = length << 8 | bytes[i];
  if (length > bytes.size() - size) return {};
  const Bytes unit = bytes.subspan(size, length);
  bytes = bytes.subspan(size + length);
  return unit;
}

bool addUp(Bytes bytes, uint32_t size) {
  while (!bytes.empty()) {
    if (!takeUnit(bytes, size)) return false;
  }
  return true;
}

void appendUnit(std::vector<uint8_t>& to, Bytes unit) {
  to.insert(to.end(), std::begin(kStartCode), std::end(kStartCode));
  to.insert(to.end(), unit.begin(), unit.end());
}

/// Sets that the record counts in one byte, each behind two bytes of length.
bool takeSets(Bytes& bytes, uint8_t countMask, std::vector<uint8_t>& to) {
  if (bytes.empty()) return false;
  const int count = bytes[0] & countMask;
  bytes = bytes.subspan(1);
  for (int i = 0; i < count; ++i) {
    const std::optional<Bytes> unit = takeUnit(bytes, 2);
    if (!unit) return false;
    appendUnit(to, *unit);
  }
  return true;
}

}  // namespace

bool UnitInput::configure(Bytes record, bool lengthPrefixed) {
  if (beginsWithStartCode(record)) {
    config.assign(record.begin(), record.end());
    lengthSize = 0;
  } else {
    if (!lengthPrefixed || record.size() < 7 || record[0] != 1) return false;
    std::vector<uint8_t> sets;
    Bytes rest = record.subspan(5);
    if (!takeSets(rest, 0x1F, sets) || !takeSets(rest, 0xFF, sets) || sets.empty()) return false;
    config = std::move(sets);
    lengthSize = (record[4] & 3u) + 1;
  }
  configPending = true;
  return true;
}

void UnitInput::clear() {
  stream = {};
  configPending = !config.empty();
}

mfxBitstream& UnitInput::headers() {
  look = {};
  look.Data = config.data();
  look.DataLength = look.MaxLength = static_cast<mfxU32>(config.size());
  look.DataFlag = MFX_BITSTREAM_COMPLETE_FRAME;
  return look;
}

bool UnitInput::add(Bytes unit, uint64_t time) {
  // A length may look like a start code: only where lengths don't add up is it one.
  const bool prefixed = lengthSize > 0 && addUp(unit, lengthSize);
  if (lengthSize > 0 && !prefixed && !beginsWithStartCode(unit)) return false;
  // What the runtime left goes to the front; usually that is nothing.
  const auto left = memory.begin() + static_cast<ptrdiff_t>(stream.DataOffset);
  memory.erase(std::copy(left, left + static_cast<ptrdiff_t>(stream.DataLength), memory.begin()),
               memory.end());
  if (configPending) memory.insert(memory.end(), config.begin(), config.end());
  configPending = false;
  if (prefixed) {
    for (Bytes rest = unit; !rest.empty();) appendUnit(memory, *takeUnit(rest, lengthSize));
  } else {
    memory.insert(memory.end(), unit.begin(), unit.end());
  }
  stream.Data = memory.data();
  stream.DataOffset = 0;
  stream.DataLength = stream.MaxLength = static_cast<mfxU32>(memory.size());
  stream.TimeStamp = time;
  stream.DataFlag = MFX_BITSTREAM_COMPLETE_FRAME;
  return true;
}

}  // namespace qvs::plugins
