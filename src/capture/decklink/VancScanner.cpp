// Packets in the lines of the vertical blanking, and which lines have them.
#include "capture/decklink/VancScanner.h"

#include <algorithm>

namespace qvs {
namespace {

constexpr size_t kHead = 6;             ///< flag of three words, identifiers, count
constexpr uint8_t kTypeOneFrom = 0x80;  ///< identifiers above 127: a block number follows
constexpr uint16_t kSumMask = 0x1FF;
constexpr int32_t kLinesMax = 4096;  ///< of any format; a host may ask for anything

struct LinesRow {
  BMDDisplayMode mode;
  VancLines lines;
};
constexpr VancLines kLines720{7, 0, 0, 26}, kLines1080{8, 0, 0, 42}, kLinesOthers{7, 0, 0, 45};
// Two ranges: from the first's end on to the second's start.
constexpr LinesRow kRows[] = {
    {bmdModePAL, {7, 22, 320, 335}},
    {bmdModeNTSCp, {11, 0, 0, 39}},
    {bmdModeNTSC, {4, 21, 24, 284}},
    {bmdModeNTSC2398, {11, 19, 274, 282}},
    {bmdModeHD720p50, kLines720},
    {bmdModeHD720p5994, kLines720},
    {bmdModeHD720p60, kLines720},
    {bmdModeHD1080p25, kLines1080},
    {bmdModeHD1080p2997, kLines1080},
    {bmdModeHD1080p30, kLines1080},
    {bmdModeHD1080p50, kLines1080},
    {bmdModeHD1080p5994, kLines1080},
    {bmdModeHD1080p6000, kLines1080},
    {bmdModeHD1080p2398, kLines1080},
    {bmdModeHD1080p24, kLines1080},
    {bmdModeHD1080i50, {8, 20, 570, 585}},
    {bmdModeHD1080i6000, {8, 20, 570, 585}},
    {bmdModeHD1080i5994, {8, 20, 570, 595}},
};

}  // namespace

bool VancScanner::next(VancPacket* packet) {
  for (; at + kHead < words.size(); ++at) {
    if (words[at] != 0 || words[at + 1] != 1023 || words[at + 2] != 1023) continue;
    const size_t count = words[at + 5] & 0xFF, end = at + kHead + count;
    if (end >= words.size()) continue;  // the line ends before the checksum
    uint32_t sum = 0;
    for (size_t i = at + 3; i < end; ++i) sum += words[i];
    const auto checksum = static_cast<uint16_t>((sum & kSumMask) | ((sum & 0x100) != 0 ? 0 : 0x200));
    if (words[end] != checksum) {
      ++bad;
      continue;  // its count may be wrong too: the next packet is looked for behind the flag
    }
    const auto did = static_cast<uint8_t>(words[at + 3]), second = static_cast<uint8_t>(words[at + 4]);
    const bool typeOne = did >= kTypeOneFrom;
    *packet = {did, typeOne ? uint8_t{0} : second, typeOne ? second : uint8_t{0}, checksum,
               words.subspan(at + kHead, count)};
    at = end + 1;
    return true;
  }
  return false;
}

VancLines VancLines::of(BMDDisplayMode mode) {
  const auto row =
      std::find_if(std::begin(kRows), std::end(kRows), [&](const auto& one) { return one.mode == mode; });
  return row != std::end(kRows) ? row->lines : kLinesOthers;
}

VancLines VancLines::of(const std::array<int32_t, 4>& wanted, BMDDisplayMode mode) {
  const auto& [start, mid1, mid2, stop] = wanted;
  if (start < 0 || stop < 0) return of(mode);
  const auto line = [](int32_t value) { return static_cast<uint32_t>(std::clamp(value, 0, kLinesMax)); };
  return {line(start), line(mid1), line(mid2), line(stop)};
}

}  // namespace qvs
