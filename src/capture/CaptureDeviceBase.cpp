// What all capture devices share: sinks, renditions, filters, preview, JSON.
#include "capture/CaptureDeviceBase.h"

#include <fmt/format.h>

#include <algorithm>

#include "capture/CaptureUtils.h"
#include "frames/VideoFrameBufferSet.h"
#include "platform/ConcurrentLockFactory.h"

namespace qvs {

namespace {

constexpr uint32_t kNoPreviewPicture = static_cast<uint32_t>(-3);
constexpr int32_t kFilterListed = 2;

const std::string& textOf(const std::string& text) {
  static const std::string kNone = "[null]";
  return text.empty() ? kNone : text;
}

}  // namespace

CaptureDeviceBase::CaptureDeviceBase()
    : lock(ConcurrentLockFactory::newConcurrentLock()), frameSyncRecycler(*lock) {
  allocaleAudioLevelData();
  frameSinkIdForVideoPreview = CaptureDeviceBase::addFrameSink(kCaptureVideo, 1, nullptr);
}

CaptureDeviceBase::~CaptureDeviceBase() = default;

void CaptureDeviceBase::resetCaptureSessionInfo() {
  writeLocked(captureSessionInfo, CaptureSessionInfoData{});
}

void CaptureDeviceBase::addRendition(std::unique_ptr<ICaptureDeviceRendition> rendition) {
  rendition->setIndex(renditionCount());
  renditions.push_back(std::move(rendition));
}

ICaptureDeviceRendition* CaptureDeviceBase::getRenditionById(uint32_t renditionId) {
  const auto found = std::find_if(renditions.begin(), renditions.end(),
                                  [&](const auto& one) { return one->getId() == renditionId; });
  return found != renditions.end() ? found->get() : nullptr;
}

ICaptureDeviceRendition* CaptureDeviceBase::getRendition(uint32_t index) {
  return index < renditions.size() ? renditions[index].get() : nullptr;
}

uint32_t CaptureDeviceBase::addCaptureFrameToFrameSinks(CaptureFrame* frame) {
  const ScopedLock guard(*lock);
  if (frame->getContentType() == kCaptureAudio) frame->setFrameIndex(++nextAudioFrameIndex);
  if (frame->getContentType() == kCaptureVideo) frame->setFrameIndex(++nextVideoFrameIndex);
  uint32_t taken = 0;
  for (const auto& [sinkId, sink] : frameSinks) {
    if (sink->getContentType() != frame->getContentType()) continue;
    sink->addCaptureFrame(frame);
    ++taken;
  }
  return taken;
}

uint32_t CaptureDeviceBase::addFrameSink(uint32_t contentType, uint32_t maxFrames,
                                         ICaptureFrameSinkFrameNotify* notify) {
  const ScopedLock guard(*lock);
  const uint32_t sinkId = ++nextFrameSinkId;
  frameSinks[sinkId] =
      std::make_unique<CaptureFrameSink>(sinkId, contentType, maxFrames, *lock, &frameSyncRecycler, notify);
  if (contentType == kCaptureVideo) ++frameSinkCountVideo;
  if (contentType == kCaptureAudio) ++frameSinkCountAudio;
  return sinkId;
}

uint8_t CaptureDeviceBase::removeFrameSink(uint32_t sinkId) {
  const ScopedLock guard(*lock);
  const auto found = frameSinks.find(sinkId);
  if (found == frameSinks.end()) return 0;
  if (found->second->getContentType() == kCaptureVideo) --frameSinkCountVideo;
  if (found->second->getContentType() == kCaptureAudio) --frameSinkCountAudio;
  frameSinks.erase(found);
  return 1;
}

CaptureFrameSink* CaptureDeviceBase::getFrameSink(uint32_t sinkId) {
  const ScopedLock guard(*lock);
  const auto found = frameSinks.find(sinkId);
  return found != frameSinks.end() ? found->second.get() : nullptr;
}

uint32_t CaptureDeviceBase::getFrameSinkCount() {
  const ScopedLock guard(*lock);
  return static_cast<uint32_t>(frameSinks.size());
}

CaptureFrame* CaptureDeviceBase::createCaptureFrameVideo(uint32_t width, uint32_t height, uint32_t fourcc,
                                                         VideoFrameBufferSet* set) {
  CaptureFrame* const used = frameSyncRecycler.getFrame(width, height, fourcc, set);
  return used != nullptr ? used : CaptureUtils::createCaptureFrameVideo(width, height, fourcc, set);
}

CaptureFrame* CaptureDeviceBase::createCaptureFrameAudio(uint32_t sampleCount, uint32_t channels,
                                                         uint32_t sampleRate) {
  CaptureFrame* const used = frameSyncRecycler.getFrame(sampleCount, channels, sampleRate);
  return used != nullptr ? used : CaptureUtils::createCaptureFrameAudio(sampleCount, channels, sampleRate);
}

uint32_t CaptureDeviceBase::getFrameBGRA(uint8_t** data, uint32_t* width, uint32_t* height, uint32_t* stride,
                                         uint64_t* timecode) {
  CaptureFrameSink* const sink = getFrameSink(frameSinkIdForVideoPreview);
  if (sink == nullptr) return kFailure;
  const std::lock_guard guard(previewLock);
  CaptureFrame* const frame = sink->peekCaptureFrame();
  if (frame == nullptr) return kNoPreviewPicture;
  uint32_t size = 0;
  const uint32_t result = frame->getVideoFrameBuffer()->getFrameBGRA(data, &size, width, height, timecode);
  if (stride != nullptr) *stride = *width * 4;
  sink->releaseCaptureFrame(frame);
  return result;
}

void CaptureDeviceBase::clearPreview() {
  if (CaptureFrameSink* const sink = getFrameSink(frameSinkIdForVideoPreview)) sink->clearCaptureFrames();
}

void CaptureDeviceBase::setResetTimecodeSyncToWallClock() {
  writeLocked(resetTimecodeSyncToWallClock, uint8_t{1});
}

uint8_t CaptureDeviceBase::getAndClearResetTimecodeSyncToWallClock() {
  const ScopedLock guard(*lock);
  return std::exchange(resetTimecodeSyncToWallClock, uint8_t{0});
}

void CaptureDeviceBase::setAncillaryDataLineNumberRange(int32_t start, int32_t mid1, int32_t mid2,
                                                        int32_t stop) {
  ancillaryDataLineNumberStart = start;
  ancillaryDataLineNumberMid1 = mid1;
  ancillaryDataLineNumberMid2 = mid2;
  ancillaryDataLineNumberStop = stop;
}

void CaptureDeviceBase::addAncillaryDataFilter(const CaptureDeviceAncillaryDataFilter& filter) {
  if (filter.filterType < 0 || filter.filterType > kFilterListed) return;
  ancillaryDataFilter = filter.filterType;
  if (filter.filterType == kFilterListed) {
    ancillaryDataFilterItems.push_back(filter);
  } else {
    ancillaryDataFilterItems.clear();
  }
}

bool CaptureDeviceBase::isAncillaryDataFilterMatch(uint32_t did, uint32_t sid) const {
  return std::any_of(ancillaryDataFilterItems.begin(), ancillaryDataFilterItems.end(), [&](const auto& item) {
    return item.did == static_cast<int32_t>(did) && (item.sid < 0 || item.sid == static_cast<int32_t>(sid));
  });
}

void CaptureDeviceBase::setOverlayInfo(const CaptureDeviceOverlayInfo& info) {
  const ScopedLock guard(*lock);
  overlayInfo = info;
  ++overlayInfoIndex;
}

std::string CaptureDeviceBase::getInfoJSON() {
  std::string list;
  for (const auto& rendition : renditions) list += (list.empty() ? "" : ", ") + rendition->getInfoJSON();
  // The missing comma behind `inputFormatDetection` is what hosts read.
  return fmt::format(
      "{{\"id\":{},\"implementation\":\"{}\",\"hardwareId\":{},\"modelName\":\"{}\",\"displayName\":\"{}\","
      "\"inputFormatDetection\":{}\"flags\":{},\"active\":{},\"running\":{},\"audioVolume\":{},"
      "\"audioLevelSamplesPerData\":{},\"audioLevelTotalDataPoints\":{},\"videoInputs\":{},\"audioInputs\":{}"
      ","
      "\"renditions\":[{}]}}",
      id, CaptureUtils::getImplementationName(implementation), hardwareId, textOf(modelName),
      textOf(displayName), inputFormatDetection != 0, flags, active != 0, running != 0, audioVolume.load(),
      audioLevelSamplesPerData.load(), getAudioLevelTotalDataPoints(), videoInputs, audioInputs, list);
}

}  // namespace qvs
