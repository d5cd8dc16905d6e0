// Reads timecodes and ancillary packets of a card's picture.
#include "capture/decklink/BlackMagicSideData.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "capture/CaptureAncillaryDataUtils.h"
#include "capture/decklink/VancScanner.h"
#include "log/LogGlobalLogger.h"

namespace qvs {
namespace {

struct TimecodeRow {
  BMDTimecodeFormat format;
  const char* name;
};
constexpr TimecodeRow kTimecodes[] = {
    {bmdTimecodeRP188VITC1, "bmdTimecodeRP188VITC1"},
    {bmdTimecodeRP188VITC2, "bmdTimecodeRP188VITC2"},
    {bmdTimecodeRP188LTC, "bmdTimecodeRP188LTC"},
    {bmdTimecodeRP188Any, "bmdTimecodeRP188Any"},
    {bmdTimecodeVITC, "bmdTimecodeVITC"},
    {bmdTimecodeVITCField2, "bmdTimecodeVITCField2"},
    {bmdTimecodeSerial, "bmdTimecodeSerial"},
};

constexpr uint32_t kWordsMax = 1920;  ///< of a line that are looked at
constexpr uint8_t kCaptionDid = 97, kCaptionSdid = 1;

bool readTimecode(IDeckLinkVideoFrame& frame, BMDTimecodeFormat format, VideoFrameBufferTimecodeInfo* info) {
  DeckLinkPtr<IDeckLinkTimecode> timecode;
  if (frame.GetTimecode(format, timecode.put()) != S_OK || !timecode) return false;
  uint8_t hours = 0, minutes = 0, seconds = 0, frames = 0;
  BMDTimecodeUserBits userBits = 0;
  if (timecode->GetComponents(&hours, &minutes, &seconds, &frames) != S_OK) return false;
  if (timecode->GetTimecodeUserBits(&userBits) != S_OK) userBits = 0;
  *info = {format, timecode->GetBCD(), userBits, timecode->GetFlags(), hours, minutes, seconds, frames};
  return true;
}

}  // namespace

void BlackMagicSideData::readTimecodes(IDeckLinkVideoFrame& frame) {
  timecodeCount = 0;
  for (const TimecodeRow& row : kTimecodes) {
    if (readTimecode(frame, row.format, &timecodes[timecodeCount])) ++timecodeCount;
  }
  if (timecodeCount != 0 && std::exchange(logStreamIncludesTimecode, false)) logTimecodes();
}

void BlackMagicSideData::logTimecodes() const {
  for (uint32_t i = 0; i < timecodeCount; ++i) {
    const VideoFrameBufferTimecodeInfo& info = timecodes[i];
    const auto row = std::find_if(std::begin(kTimecodes), std::end(kTimecodes),
                                  [&](const auto& one) { return one.format == info.tcType; });
    loggerOrGlobal(device.getLogger())
        ->info(fmt::format("CaptureDeviceBlackMagic.VideoInputFrameArrived[{{context}}]: Timecode[{}]: "
                           "timestamp:{:02}:{:02}:{:02}:{:02} flags:{}",
                           row->name, info.hours, info.minutes, info.seconds, info.frames, info.flags));
  }
}

BlackMagicSideData::Counts BlackMagicSideData::readAncillary(IDeckLinkVideoFrame& frame, uint32_t width) {
  Counts counts;
  DeckLinkPtr<IDeckLinkVideoFrameAncillary> ancillary;
  if (frame.GetAncillaryData(ancillary.put()) != S_OK || !ancillary) return counts;
  if (ancillary->GetPixelFormat() != bmdFormat10BitYUV) {
    if (!std::exchange(toldFormat, true)) {
      loggerOrGlobal(device.getLogger())
          ->warn(
              "BlackMagicSideData.readAncillary[{context}]: Ancillary data is read in 10-bit capture alone");
    }
    return counts;
  }
  const BMDDisplayMode mode = ancillary->GetDisplayMode();
  const bool isNtsc = mode == bmdModeNTSC || mode == bmdModeNTSC2398;
  const VancLines lines = VancLines::of(device.getAncillaryDataLines(), mode);
  for (uint32_t line = lines.start; line <= lines.stop; line = lines.after(line)) {
    void* bytes = nullptr;
    if (ancillary->GetBufferForVerticalBlankingLine(line, &bytes) != S_OK || bytes == nullptr) continue;
    const Counts found = readLine(static_cast<const uint8_t*>(bytes), width, isNtsc);
    counts.packets += found.packets;
    counts.captions += found.captions;
  }
  return counts;
}

BlackMagicSideData::Counts BlackMagicSideData::readLine(const uint8_t* line, uint32_t width, bool isNtsc) {
  std::array<uint16_t, kWordsMax> words;
  const uint32_t wanted = std::min(isNtsc ? width * 2 : width, kWordsMax);
  uint32_t count = 0;
  CaptureAncillaryDataUtils::getAncillaryData(line, wanted, isNtsc ? 1 : 0, words.data(), &count);
  VancScanner scanner(std::span<const uint16_t>(words.data(), count));
  Counts counts;
  for (VancPacket packet; scanner.next(&packet);) {
    ++counts.packets;
    if (packet.did == kCaptionDid && packet.sdid == kCaptionSdid) ++counts.captions;
    keep(packet);
  }
  if (scanner.badChecksums() != 0) tellBadChecksums(scanner.badChecksums());
  return counts;
}

void BlackMagicSideData::keep(const VancPacket& packet) {
  constexpr int32_t kAll = 1;
  if (device.getAncillaryDataFilter() != kAll && !device.isAncillaryDataFilterMatch(packet.did, packet.sdid))
    return;
  if (ancillaryData.size() >= kPacketsMax) return;
  VideoFrameAncillaryData& data = ancillaryData.emplace_back();
  data.did = packet.did;
  data.sid = packet.sdid;
  data.dbn = packet.dbn;
  data.dc = static_cast<int32_t>(packet.words.size());
  data.checksum = packet.checksum;
  data.bufferLen = static_cast<uint32_t>(packet.words.size());
  std::copy(packet.words.begin(), packet.words.end(), data.buffer);
}

void BlackMagicSideData::tellBadChecksums(uint32_t count) {
  badChecksums += count;
  if (badChecksums < 2 * toldBadChecksums) return;  // again when there are twice as many
  toldBadChecksums = badChecksums;
  loggerOrGlobal(device.getLogger())
      ->warn(fmt::format(
          "BlackMagicSideData.readAncillary[{{context}}]: Ancillary packets with a wrong checksum: {}",
          badChecksums));
}

void BlackMagicSideData::moveTo(FrameSideData& picture) {
  picture.setTimecodeInfo(timecodes.data(), timecodeCount);
  for (const VideoFrameAncillaryData& item : ancillaryData) picture.addAncillaryDataObj(item);
  ancillaryData.clear();
  timecodeCount = 0;
}

}  // namespace qvs
