// H.264 configuration records, splitting of access units and the frame rate's fraction.
#include "video/decoders/H264Utils.h"

#include <algorithm>
#include <cmath>

#include "bufstream/ParameterSets.h"
#include "contract/FrameTypes.h"

namespace qvs {

namespace {

constexpr uint32_t kSlice = 1;
constexpr uint32_t kKeySlice = 5;
constexpr uint32_t kSps = 7;
constexpr uint32_t kPps = 8;
constexpr uint32_t kDelimiter = 9;
constexpr uint32_t kRecordOverhead = 11;
constexpr double kRateMax = 200000.0;  // times 10000 must fit 32 bits

/// Bytes of the start code at `position`; 0 without one.
uint32_t startCodeAt(const uint8_t* bytes) {
  if (bytes[0] != 0 || bytes[1] != 0) return 0;
  if (bytes[2] == 1) return 3;
  return bytes[2] == 0 && bytes[3] == 1 ? 4 : 0;
}

void readDelimiter(uint8_t pictureTypes, H264UtilsFrameNALUnits& units) {
  if (pictureTypes == 0x10) units.frameType = kFrameTypeKey;
  if (pictureTypes == 0x50) units.frameType = kFrameTypeBidirectional;
  if (pictureTypes == 0x30) units.frameType = kFrameTypePredicted;
}

/// Takes note of the unit that begins at `bytes`; true for a slice.
bool addUnit(uint8_t* bytes, H264UtilsFrameNALUnits& units) {
  const uint32_t type = bytes[0] & 31u;
  const auto index = static_cast<int32_t>(units.nalUnits.size());
  units.nalUnits.push_back({bytes, 0, type});
  if (type == kSps) units.spsIndex = index;
  if (type == kPps) units.ppsIndex = index;
  if (type == kDelimiter) {
    units.audIndex = index;
    readDelimiter(bytes[1], units);
  }
  if (type == kKeySlice) units.frameType = kFrameTypeKey;
  if (type != kSlice && type != kKeySlice) return false;
  units.sliceIndex = index;
  return true;
}

void closeUnit(uint8_t* end, H264UtilsFrameNALUnits& units) {
  if (units.nalUnits.empty()) return;
  H264UtilsFrameNALUnit& unit = units.nalUnits.back();
  unit.len = static_cast<uint32_t>(end - unit.buffer);
  units.totalSize += unit.len;
}

const H264UtilsFrameNALUnit* unitAt(const H264UtilsFrameNALUnits& units, int32_t index) {
  if (index < 0 || static_cast<size_t>(index) >= units.nalUnits.size()) return nullptr;
  return &units.nalUnits[static_cast<size_t>(index)];
}

}  // namespace

void H264Utils::breakH264FrameIntoNALUnits(uint8_t* buffer, uint32_t len, H264UtilsFrameNALUnits& units) {
  units = {};
  if (buffer == nullptr) return;
  uint32_t position = 0;
  bool slice = false;
  while (!slice && uint64_t{position} + 5 < len) {
    const uint32_t code = startCodeAt(buffer + position);
    if (code == 0) {
      ++position;
      continue;
    }
    closeUnit(buffer + position, units);
    position += code;
    slice = addUnit(buffer + position, units);
  }
  closeUnit(buffer + len, units);
}

uint32_t H264Utils::codecConfigInfoToAVCCLen(const H264UtilsFrameNALUnits& units) {
  const H264UtilsFrameNALUnit* sps = unitAt(units, units.spsIndex);
  const H264UtilsFrameNALUnit* pps = unitAt(units, units.ppsIndex);
  return sps != nullptr && pps != nullptr ? sps->len + pps->len + kRecordOverhead : 0;
}

void H264Utils::codecConfigInfoToAVCC(const H264UtilsFrameNALUnits& units, uint8_t* out) {
  const H264UtilsFrameNALUnit* sps = unitAt(units, units.spsIndex);
  const H264UtilsFrameNALUnit* pps = unitAt(units, units.ppsIndex);
  if (sps == nullptr || pps == nullptr) return;
  ParameterSets sets;
  sets.spsFrame = ParameterSets::withStartCode({sps->buffer, sps->len});
  sets.ppsFrame = ParameterSets::withStartCode({pps->buffer, pps->len});
  const ParameterSets::Bytes record = sets.avcRecord();
  std::copy(record.begin(), record.end(), out);
}

void H264Utils::convertFrameRate(double rate, uint32_t* numerator, uint32_t* denominator) {
  *numerator = 0;
  *denominator = 1;
  if (!(rate > 0.0 && rate <= kRateMax)) return;
  const auto rounded = [](double value) { return static_cast<uint32_t>(std::lround(value)); };
  const uint32_t whole = rounded(rate);
  const uint32_t ntsc = rounded(rate * 1.001);
  if (std::fabs(rate - whole) < 0.0001) {
    *numerator = whole;
  } else if (std::fabs(ntsc * 1000.0 - 1001.0 * rate) < 10.0) {
    *numerator = ntsc * 1000;
    *denominator = 1001;
  } else {
    *numerator = rounded(rate * 10000.0);
    *denominator = 10000;
  }
}

}  // namespace qvs
