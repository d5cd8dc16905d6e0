// The session's video operations per frame: decode, overlay, transfer to renditions, encode.
#include <fmt/format.h>

#include <utility>

#include "contract/DecodeFlags.h"
#include "frames/VideoFrameBuffer.h"
#include "frames/VideoFrameBufferAllocation.h"
#include "frames/VideoFrameBufferAllocator.h"
#include "platform/Guard.h"
#include "session/notify/TranscoderSessionNotifyManager.h"
#include "session/TranscoderSession.h"

namespace qvs {

namespace {

constexpr uint32_t kScalerStatusSourceDone = 1;
constexpr uint32_t kScalerStatusFramesReady = 2;

uint32_t allocateFrom(VideoFrameBufferSet& set, uint32_t* bufferIndex) {
  const auto allocation = set.getVideoFrameBufferAllocator()->allocate();
  if (!allocation) return kFailure;
  VideoFrameBuffer& frame = **allocation;
  frame.createJavaBufferAllocation();
  *bufferIndex = frame.getBufferIndex();
  return kSuccess;
}

uint32_t acquire(VideoFrameBuffer* frame) {
  if (frame == nullptr) return kFailure;
  frame->createJavaBufferAllocation();
  return kSuccess;
}

uint32_t release(VideoFrameBuffer* frame) {
  if (frame == nullptr) return kFailure;
  frame->releaseJavaBufferAllocation();
  return kSuccess;
}

uint32_t setOverlay(VideoOverlayFrames* overlays, uint32_t overlayIndex, VideoOverlayFrame* frame) {
  std::unique_ptr<VideoOverlayFrame> owned(frame);
  if (overlays == nullptr) return kFailure;
  if (owned) {
    overlays->putFrame(overlayIndex, owned.release());
  } else {
    overlays->clearFrame(overlayIndex);
  }
  return kSuccess;
}

}  // namespace

uint32_t TranscoderSession::videoDecoderSetFrameSizeLimits(uint32_t widthMax, uint32_t heightMax,
                                                           uint32_t widthMin, uint32_t heightMin) {
  decoderFrameSizeWidthMax = widthMax;
  decoderFrameSizeHeightMax = heightMax;
  decoderFrameSizeWidthMin = widthMin;
  decoderFrameSizeHeightMin = heightMin;
  return kSuccess;
}

bool TranscoderSession::isDecoderFrameSizeValid(uint32_t width, uint32_t height) const {
  const auto within = [](uint32_t value, uint32_t max, uint32_t min) {
    return (max == 0 || value <= max) && (min == 0 || value >= min);
  };
  return within(width, decoderFrameSizeWidthMax, decoderFrameSizeWidthMin) &&
         within(height, decoderFrameSizeHeightMax, decoderFrameSizeHeightMin);
}

uint32_t TranscoderSession::videoDecoderDecodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded("TranscoderSession::videoDecoderDecodeCodecConfig", [&]() -> uint32_t {
    if (!videoDecoder) return kFailure;
    const uint32_t result = videoDecoder->decodeCodecConfig(buffer, offset, len);
    if (result != kSuccess || videoDecoderFrameBuffersInited != 0) return result;
    const FrameAllocProvider alloc = videoDecoder->getAllocProvider();
    const FrameFreeProvider free = videoDecoder->getFreeProvider();
    for (const auto& frame : videoDecoderBuffers) {
      frame->setAllocProvider(alloc, free);
      frame->allocBuffer(videoDecoder->getFrameWidth(), videoDecoder->getFrameHeight(), videoDecoderFourcc);
    }
    for (const VideoEncoderWrapper& wrapper : videoEncoders) {
      if (wrapper.videoEncoder) wrapper.videoEncoder->setFrameRate(videoDecoder->getFrameRate());
    }
    videoDecoderFrameBuffersInited = 1;
    return result;
  });
}

uint32_t TranscoderSession::videoDecoderAddFrame(CodedBlock block, uint64_t timecode, uint32_t frameType) {
  return guarded("TranscoderSession::videoDecoderAddFrame", [&]() -> uint32_t {
    if (!videoDecoder) return kFailure;
    // Freed at the end: until it has the new block the decoder may read the one before.
    const CodedBlock before = std::exchange(currVideoDecodeBuffer, std::move(block));
    const CodedBlock& now = currVideoDecodeBuffer;
    return videoDecoder->addFrame(now.getMemory(), now.getOffset(), now.getLen(), timecode, frameType);
  });
}

uint32_t TranscoderSession::videoDecoderDecode(uint32_t bufferIndex, uint32_t* decoderStatus,
                                               uint64_t* timecode,
                                               std::vector<VideoFrameAncillaryData>& ancillaryData,
                                               TranscoderVideoDecoderFrameInfo& frameInfo) {
  return guarded("TranscoderSession::videoDecoderDecode", [&]() -> uint32_t {
    if (!videoDecoder) return kFailure;
    const uint32_t result = videoDecoder->decode(decoderStatus);
    VideoFrameBuffer* frame = getVideoDecoderBuffer(bufferIndex);
    if (frame == nullptr) return kFailure;
    const uint32_t status = *decoderStatus;
    if ((status & DecodeFlagFrameAvailable) == 0 || (status & DecodeFlagFrameNotReady) != 0) return result;
    const uint32_t fetched = fetchDecodedFrame(*frame, timecode, ancillaryData, frameInfo);
    return fetched != kSuccess ? fetched : result;
  });
}

uint32_t TranscoderSession::fetchDecodedFrame(VideoFrameBuffer& frame, uint64_t* timecode,
                                              std::vector<VideoFrameAncillaryData>& ancillaryData,
                                              TranscoderVideoDecoderFrameInfo& info) {
  videoDecoder->getDecodedFrameSize(&info.frameWidth, &info.frameHeight, &info.displayWidth,
                                    &info.displayHeight);
  if (info.frameWidth != 0 && info.frameHeight != 0 &&
      frame.allocBuffer(info.frameWidth, info.frameHeight, videoDecoderFourcc) != kSuccess) {
    return kFailure;
  }
  videoDecoder->getDecodedFrame(frame);
  info.frameRate = videoDecoder->getFrameRate();
  frame.setFrameRate(info.frameRate);
  *timecode = frame.getTimecode();
  frame.getAncillaryDataObjs(ancillaryData);
  info.frameCount = ++decodeFrameCount;
  info.timecodeInfoCount = TranscoderVideoDecoderFrameInfo::kTimecodeInfoMax;
  frame.getTimecodeInfo(info.timecodeInfo.data(), &info.timecodeInfoCount);
  if (info.frameWidth != lastDecodeWidth || info.frameHeight != lastDecodeHeight) logFrameSize(info, frame);
  return kSuccess;
}

void TranscoderSession::logFrameSize(const TranscoderVideoDecoderFrameInfo& info,
                                     const VideoFrameBuffer& frame) {
  logCollector.info(
      kLogContextVideoDecoder, 0,
      fmt::format(
          "TranscoderSession.videoDecoderDecode[{{context}}]: Decoder frame size: frame:{}x{} display:{}x{} "
          "bufferSize:{}",
          info.frameWidth, info.frameHeight, info.displayWidth, info.displayHeight,
          frame.getBuffer() != nullptr ? frame.getFrameSize() : 0));
  lastDecodeWidth = info.frameWidth;
  lastDecodeHeight = info.frameHeight;
}

uint32_t TranscoderSession::videoDecoderGetFrame(uint32_t bufferIndex, uint64_t* timecode) {
  return guarded("TranscoderSession::videoDecoderGetFrame", [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoDecoderBuffer(bufferIndex);
    if (!videoDecoder || frame == nullptr) return kFailure;
    const uint32_t result = videoDecoder->getDecodedFrame(*frame);
    frame->setFrameRate(videoDecoder->getFrameRate());
    *timecode = frame->getTimecode();
    return result;
  });
}

uint32_t TranscoderSession::videoDecoderBufferAllocate(uint32_t* bufferIndex) {
  return guarded("TranscoderSession::videoDecoderBufferAllocate",
                 [&]() -> uint32_t { return allocateFrom(videoDecoderBuffers, bufferIndex); });
}

uint32_t TranscoderSession::videoDecoderBufferAcquire(uint32_t bufferIndex) {
  return guarded("TranscoderSession::videoDecoderBufferAcquire",
                 [&]() -> uint32_t { return acquire(getVideoDecoderBuffer(bufferIndex)); });
}

uint32_t TranscoderSession::videoDecoderBufferRelease(uint32_t bufferIndex) {
  return guarded("TranscoderSession::videoDecoderBufferRelease",
                 [&]() -> uint32_t { return release(getVideoDecoderBuffer(bufferIndex)); });
}

uint32_t TranscoderSession::videoDecoderBufferSetOverlayVideoFrame(uint32_t overlayIndex,
                                                                   VideoOverlayFrame* frame) {
  // Both overlay operations report under one name.
  return guarded("TranscoderSession::videoEncoderBufferSetOverlayVideoFrame", [&]() -> uint32_t {
    return setOverlay(&videoDecoderBuffers.getOverlayFrames(), overlayIndex, frame);
  });
}

uint32_t TranscoderSession::videoDecoderTransferFrameStart(uint32_t decoderBufferIndex,
                                                           std::span<const uint32_t> encoderBufferIndexes) {
  return guarded("TranscoderSession::videoDecoderTransferFrameStart", [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoDecoderBuffer(decoderBufferIndex);
    if (encoderBufferIndexes.size() > videoEncoderBufferSets.size() || frame == nullptr) return kFailure;
    if (!isDecoderFrameSizeValid(frame->getWidth(), frame->getHeight())) {
      return reportFrameSizeOutOfRange(frame->getWidth(), frame->getHeight());
    }
    decoderFrameSizeReportOutOfRange = 1;
    frame->transferLocationFromDecode();
    TranscoderSessionNotifyManager& listeners = *TranscoderSessionNotifyManager::getInstance();
    listeners.notifyVideoFrameDecodeListenersBeforeOverlay(getSessionId(), videoDecoder.get(), frame);
    VideoOverlayFrames& overlays = videoDecoderBuffers.getOverlayFrames();
    const uint32_t drawn = videoDecoderBuffers.applyOverlays(*frame, overlays);
    listeners.notifyVideoFrameDecodeListenersAfterOverlay(getSessionId(), videoDecoder.get(), frame);
    prepareFractionalFrames(*frame, encoderBufferIndexes);
    return drawn;
  });
}

uint32_t TranscoderSession::reportFrameSizeOutOfRange(uint32_t width, uint32_t height) {
  if (decoderFrameSizeReportOutOfRange == 0) return kFailure;
  decoderFrameSizeReportOutOfRange = 0;
  logCollector.warn(
      kLogContextVideoDecoder, 0,
      fmt::format(
          "TranscoderSession::videoDecoderTransferFrame[{{context}}]: Decoded frame size is out of range "
          "frame:{}x{} max:{}x{} min:{}x{}",
          width, height, decoderFrameSizeWidthMax, decoderFrameSizeHeightMax, decoderFrameSizeWidthMin,
          decoderFrameSizeHeightMin));
  return kFailure;
}

void TranscoderSession::prepareFractionalFrames(VideoFrameBuffer& frame,
                                                std::span<const uint32_t> encoderBufferIndexes) {
  const VideoFrameBuffer* smallest = nullptr;
  uint64_t smallestArea = 0;
  for (size_t set = 0; set < encoderBufferIndexes.size(); ++set) {
    const VideoFrameBuffer* target =
        getVideoEncoderBuffer(static_cast<uint32_t>(set), encoderBufferIndexes[set]);
    if (target == nullptr) continue;
    const uint64_t area = uint64_t{target->getWidth()} * target->getHeight();
    if (area == 0 || (smallest != nullptr && area >= smallestArea)) continue;
    smallest = target;
    smallestArea = area;
  }
  frame.updateFractionalFrames(smallest != nullptr ? smallest->getWidth() : 0,
                               smallest != nullptr ? smallest->getHeight() : 0);
}

uint32_t TranscoderSession::videoDecoderTransferFrame(uint32_t decoderFrameIndex, uint32_t encoderFrameIndex,
                                                      uint32_t encoderIndex) {
  return guarded("TranscoderSession::videoDecoderTransferFrame", [&]() -> uint32_t {
    // Encoder i reads set i.
    VideoFrameBuffer* source = getVideoDecoderBuffer(decoderFrameIndex);
    VideoFrameBufferSet* set = getVideoEncoderBufferSet(encoderIndex);
    VideoFrameBuffer* target = getVideoEncoderBuffer(encoderIndex, encoderFrameIndex);
    IVideoEncoder* encoder = getVideoEncoder(encoderIndex);
    if (source == nullptr || set == nullptr || target == nullptr || encoder == nullptr) return kFailure;
    VideoOverlayFrames& overlays = set->getOverlayFrames();
    TranscoderSessionNotifyManager& listeners = *TranscoderSessionNotifyManager::getInstance();
    set->setScaleFlags(source->getScaleFlags());
    const uint32_t transferred = set->transferFrame(*source, *target, overlays);
    listeners.notifyVideoFrameEncodeListenersBeforeOverlay(getSessionId(), encoder, source, target);
    const uint32_t drawn = set->applyOverlays(*target, overlays);
    listeners.notifyVideoFrameEncodeListenersAfterOverlay(getSessionId(), encoder, source, target);
    return transferred != kSuccess ? transferred : drawn;
  });
}

uint32_t TranscoderSession::videoScalerScaleFrame(uint32_t decoderFrameIndex,
                                                  std::span<const uint32_t> encoderBufferIndexes,
                                                  uint32_t encoderCount, uint32_t* scalerStatus) {
  return guarded("TranscoderSession::videoScalerScaleFrame", [&]() -> uint32_t {
    *scalerStatus = 0;
    VideoFrameBuffer* source = getVideoDecoderBuffer(decoderFrameIndex);
    if (encoderBufferIndexes.size() > videoEncoderBufferSets.size() || !videoScaler ||
        encoderCount > kScalerTargetsMax || source == nullptr) {
      return kFailure;
    }
    TranscoderSessionNotifyManager& listeners = *TranscoderSessionNotifyManager::getInstance();
    // No overlay runs between the two on this road.
    listeners.notifyVideoFrameDecodeListenersBeforeOverlay(getSessionId(), videoDecoder.get(), source);
    listeners.notifyVideoFrameDecodeListenersAfterOverlay(getSessionId(), videoDecoder.get(), source);
    if (!gatherScalerTargets(*source, encoderBufferIndexes)) return kFailure;
    uint32_t count = encoderCount;
    videoScaler->scaleFrame(source, &scalerTargets, &count);
    for (size_t index = 0; index < scalerTargets.size(); ++index) {
      IVideoEncoder* encoder = getVideoEncoder(static_cast<uint32_t>(index));
      VideoFrameBuffer* target = scalerTargets[index].frame;
      listeners.notifyVideoFrameEncodeListenersBeforeOverlay(getSessionId(), encoder, nullptr, target);
      listeners.notifyVideoFrameEncodeListenersAfterOverlay(getSessionId(), encoder, nullptr, target);
    }
    *scalerStatus = kScalerStatusSourceDone | (count != 0 ? kScalerStatusFramesReady : 0);
    return kSuccess;
  });
}

bool TranscoderSession::gatherScalerTargets(const VideoFrameBuffer& source,
                                            std::span<const uint32_t> encoderBufferIndexes) {
  scalerTargets.clear();
  for (uint32_t index = 0; index < encoderBufferIndexes.size(); ++index) {
    VideoFrameBufferSet* set = getVideoEncoderBufferSet(index);
    VideoFrameBuffer* target = getVideoEncoderBuffer(index, encoderBufferIndexes[index]);
    if (set == nullptr || target == nullptr || getVideoEncoder(index) == nullptr) return false;
    set->setScaleFlags(source.getScaleFlags());
    if (scalerTargets.size() < kScalerTargetsMax) scalerTargets.push_back({target, &set->getOverlayFrames()});
  }
  return true;
}

uint32_t TranscoderSession::videoScalerFreeFrame(uint32_t decodeFrameIndex) {
  return guarded("TranscoderSession::videoScalerFreeFrame", [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoDecoderBuffer(decodeFrameIndex);
    if (!videoScaler || frame == nullptr) return kSuccess;
    uint32_t count = 0;
    return videoScaler->scaleFrame(frame, nullptr, &count);
  });
}

uint32_t TranscoderSession::videoEncoderBufferAllocate(uint32_t setIndex, uint32_t* bufferIndex) {
  return guarded("TranscoderSession::videoEncoderBufferAllocate", [&]() -> uint32_t {
    VideoFrameBufferSet* set = getVideoEncoderBufferSet(setIndex);
    return set != nullptr ? allocateFrom(*set, bufferIndex) : kFailure;
  });
}

uint32_t TranscoderSession::videoEncoderBufferAcquire(uint32_t setIndex, uint32_t bufferIndex) {
  return guarded("TranscoderSession::videoEncoderBufferAcquire",
                 [&]() -> uint32_t { return acquire(getVideoEncoderBuffer(setIndex, bufferIndex)); });
}

uint32_t TranscoderSession::videoEncoderBufferRelease(uint32_t setIndex, uint32_t bufferIndex) {
  return guarded("TranscoderSession::videoEncoderBufferRelease",
                 [&]() -> uint32_t { return release(getVideoEncoderBuffer(setIndex, bufferIndex)); });
}

uint32_t TranscoderSession::videoEncoderBufferSetOverlayVideoFrame(uint32_t setIndex, uint32_t overlayIndex,
                                                                   VideoOverlayFrame* frame) {
  return guarded("TranscoderSession::videoEncoderBufferSetOverlayVideoFrame", [&]() -> uint32_t {
    return setOverlay(getVideoEncoderOverlayFrames(setIndex), overlayIndex, frame);
  });
}

uint32_t TranscoderSession::videoEncoderAddFrame(uint32_t indexEncoder, uint32_t indexBuffer,
                                                 uint32_t setIndex, uint32_t frameType, uint64_t timecode) {
  return guarded("TranscoderSession::videoEncoderAddFrame", [&]() -> uint32_t {
    IVideoEncoder* encoder = getVideoEncoder(indexEncoder);
    VideoFrameBuffer* frame = getVideoEncoderBuffer(setIndex, indexBuffer);
    if (encoder == nullptr || frame == nullptr) return kFailure;
    return encoder->addFrame(*frame, frameType, timecode);
  });
}

uint32_t TranscoderSession::videoEncoderSkipFrame(uint32_t indexEncoder, uint32_t indexBuffer,
                                                  uint32_t setIndex, uint32_t frameType, uint64_t timecode) {
  return guarded("TranscoderSession::videoEncoderSkipFrame", [&]() -> uint32_t {
    IVideoEncoder* encoder = getVideoEncoder(indexEncoder);
    VideoFrameBuffer* frame = getVideoEncoderBuffer(setIndex, indexBuffer);
    if (encoder == nullptr || frame == nullptr) return kFailure;
    return encoder->skipFrame(*frame, frameType, timecode);
  });
}

uint32_t TranscoderSession::videoEncoderGetEncodedFrames(uint32_t indexEncoder,
                                                         std::vector<VideoFrameEncoded>& encodedFrames) {
  return guarded("TranscoderSession::videoEncoderGetEncodedFrames", [&]() -> uint32_t {
    IVideoEncoder* encoder = getVideoEncoder(indexEncoder);
    return encoder != nullptr ? encoder->getEncodedFrames(encodedFrames) : kFailure;
  });
}

uint32_t TranscoderSession::videoDecoderGetFrameBGRA(uint32_t bufferIndex, uint8_t** buffer, uint32_t* len,
                                                     uint32_t* width, uint32_t* height, uint64_t* timecode) {
  return guarded("TranscoderSession::videoDecoderGetFrameBGRA", [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoDecoderBuffer(bufferIndex);
    return frame != nullptr ? frame->getFrameBGRA(buffer, len, width, height, timecode) : kFailure;
  });
}

uint32_t TranscoderSession::videoEncoderGetFrameBGRA(uint32_t setIndex, uint32_t bufferIndex,
                                                     uint8_t** buffer, uint32_t* len, uint32_t* width,
                                                     uint32_t* height, uint64_t* timecode) {
  return guarded("TranscoderSession::videoEncoderGetFrameBGRA", [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoEncoderBuffer(setIndex, bufferIndex);
    return frame != nullptr ? frame->getFrameBGRA(buffer, len, width, height, timecode) : kFailure;
  });
}

}  // namespace qvs
