// Parameter sets of H.264 and H.265, read from configuration records and written in Annex B or as a record.
#include "bufstream/ParameterSets.h"

#include <algorithm>
#include <initializer_list>
#include <limits>

namespace qvs {

namespace {

constexpr uint8_t kStartCode[ParameterSets::kStartCodeLength] = {0, 0, 0, 1};

constexpr uint32_t kAvcLengthSizeAt = 4;
constexpr uint32_t kAvcSpsLengthAt = 6;
constexpr size_t kAvcShortestSps = 5;

constexpr uint32_t kHevcLengthSizeAt = 21;
constexpr uint32_t kHevcArraysAt = 22;
constexpr uint32_t kHevcShortestRecord = 24;
constexpr uint32_t kHevcVps = 32;
constexpr uint32_t kHevcSps = 33;
constexpr uint32_t kHevcPps = 34;

/// 16 bits, high byte first, as lengths stand in records.
uint32_t readWord(ParameterSets::View bytes, size_t at) {
  return uint32_t{bytes[at]} << 8 | bytes[at + 1];
}

uint32_t lengthSize(uint8_t field) {
  return (field & 3u) + 1;
}

/// A set without its start code.
ParameterSets::View bare(const ParameterSets::Bytes& set) {
  return ParameterSets::View(set).subspan(std::min<size_t>(set.size(), ParameterSets::kStartCodeLength));
}

void append(ParameterSets::Bytes& to, ParameterSets::View bytes) {
  to.insert(to.end(), bytes.begin(), bytes.end());
}

void appendSet(ParameterSets::Bytes& record, ParameterSets::View set) {
  record.push_back(static_cast<uint8_t>(set.size() >> 8));
  record.push_back(static_cast<uint8_t>(set.size()));
  append(record, set);
}

}  // namespace

ParameterSets::Bytes ParameterSets::withStartCode(View set) {
  Bytes bytes(sizeof kStartCode + set.size());
  std::copy(set.begin(), set.end(), std::copy(std::begin(kStartCode), std::end(kStartCode), bytes.begin()));
  return bytes;
}

ParameterSets::Overrun ParameterSets::readAvcRecord(View record) {
  const size_t len = record.size();
  nalUnitLen = len > kAvcLengthSizeAt ? lengthSize(record[kAvcLengthSizeAt]) : 4;
  const size_t spsAt = kAvcSpsLengthAt + 2;
  if (len < spsAt) return {"spsOffset", kAvcSpsLengthAt};
  const uint32_t spsLen = readWord(record, kAvcSpsLengthAt);
  if (spsLen == 0 || spsAt + spsLen + 3 > len) return {"spsLen", spsLen};
  // Behind the set: the count of picture sets, taken for one, and the length of the first.
  const size_t ppsAt = spsAt + spsLen + 3;
  const uint32_t ppsLen = readWord(record, ppsAt - 2);
  if (ppsLen == 0 || ppsAt + ppsLen > len) return {"ppsLen", ppsLen};
  spsFrame = withStartCode(record.subspan(spsAt, spsLen));
  ppsFrame = withStartCode(record.subspan(ppsAt, ppsLen));
  return {};
}

void ParameterSets::readHevcRecord(View record) {
  nalUnitLen = record.size() < kHevcShortestRecord ? 4 : lengthSize(record[kHevcLengthSizeAt]);
  View rest = record.subspan(std::min<size_t>(record.size(), kHevcArraysAt));
  while (rest.size() >= 2) {
    uint32_t arrays = rest[0];
    rest = rest.subspan(1);
    for (; arrays != 0; --arrays) {
      if (rest.size() < 3) return;
      const uint32_t type = rest[0] & 63u;
      Bytes* set = type == kHevcVps ? &vpsFrame : type == kHevcSps ? &spsFrame : nullptr;
      if (type == kHevcPps) set = &ppsFrame;
      uint32_t units = readWord(rest, 1);
      rest = rest.subspan(3);
      for (; units != 0; --units) {
        if (rest.size() < 2) return;
        const uint32_t len = readWord(rest, 0);
        rest = rest.subspan(2);
        if (len > rest.size()) return;
        if (set != nullptr) *set = withStartCode(rest.first(len));
        rest = rest.subspan(len);
      }
    }
  }
}

ParameterSets::Bytes ParameterSets::annexB() const {
  Bytes bytes;
  for (const Bytes* set : {&vpsFrame, &spsFrame, &ppsFrame}) append(bytes, *set);
  return bytes;
}

ParameterSets::Bytes ParameterSets::avcRecord() const {
  const View sps = bare(spsFrame);
  const View pps = bare(ppsFrame);
  if (sps.size() < kAvcShortestSps || ppsFrame.empty()) return {};
  if (std::max(sps.size(), pps.size()) > std::numeric_limits<uint16_t>::max()) return {};
  // Version, profile, its constraints, level, the size of lengths and one sequence set.
  Bytes record{1, sps[1], sps[2], sps[3], static_cast<uint8_t>(0xFC | (nalUnitLen - 1)), 0xE1};
  appendSet(record, sps);
  record.push_back(1);
  appendSet(record, pps);
  return record;
}

}  // namespace qvs
