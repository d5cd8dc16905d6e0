// Captions on their way from decoded pictures to coded ones.
#include "session/CaptionCarrier.h"

#include <algorithm>

namespace qvs {

namespace {
// Some seconds of captions, and more pictures than any encoder holds back: beyond that nobody fetches them.
constexpr size_t kWaitingMax = 4096;
constexpr size_t kRidingMax = 512;
}  // namespace

void CaptionCarrier::setActive(bool value) {
  active = value;
  if (active) return;
  waiting.clear();
  riding.clear();
}

void CaptionCarrier::take(const VideoFrameBuffer& decoded) {
  packets.clear();
  decoded.getAncillaryDataObjs(packets);
  if (packets.empty()) return;
  Triplets triplets;
  for (const VideoFrameAncillaryData& packet : packets) CaptionFormat::read(packet, triplets);
  waiting.insert(waiting.end(), triplets.begin(), triplets.end());
  while (waiting.size() > kWaitingMax) waiting.pop_front();
}

CaptionCarrier::Triplets CaptionCarrier::next() {
  const size_t count = std::min(waiting.size(), CaptionFormat::kTripletsMax);
  const auto end = waiting.begin() + static_cast<std::ptrdiff_t>(count);
  Triplets triplets(waiting.begin(), end);
  waiting.erase(waiting.begin(), end);
  // Decoders expect the lines of the picture in front.
  std::stable_partition(triplets.begin(), triplets.end(), [](const auto& one) { return one.isLine21(); });
  return triplets;
}

void CaptionCarrier::ride(uint64_t timecode) {
  if (waiting.empty() || riding.contains(timecode)) return;
  riding.emplace(timecode, next());
  if (riding.size() > kRidingMax) riding.erase(riding.begin());
}

bool CaptionCarrier::deliver(uint32_t codec, std::vector<VideoFrameEncoded>& units, size_t first) {
  bool all = true;
  for (size_t i = first; i < units.size() && !riding.empty(); ++i) {
    VideoFrameEncoded& unit = units[i];
    const auto found = riding.find(unit.getTimecode() + static_cast<uint64_t>(unit.getTimecodeOffset()));
    if (found == riding.end()) continue;
    uint32_t len = 0;
    MallocBytes bytes = unit.isAllocated() ? CaptionFormat::insert(codec, {unit.getBuffer(), unit.getLen()},
                                                                   found->second, &len)
                                           : nullptr;
    riding.erase(found);
    all &= bytes != nullptr;
    if (!bytes) continue;
    std::free(unit.getBuffer());
    unit.setBuffer(bytes.release());
    unit.setLen(len);
  }
  return all;
}

}  // namespace qvs
