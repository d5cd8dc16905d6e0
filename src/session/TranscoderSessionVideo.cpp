// The session's video operations per frame: decode, overlay, transfer to renditions, encode.
#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "contract/DecodeFlags.h"
#include "frames/VideoFrameBuffer.h"
#include "frames/VideoFrameBufferAllocation.h"
#include "frames/VideoFrameBufferAllocator.h"
#include "session/Forward.h"
#include "session/notify/TranscoderSessionNotifyManager.h"
#include "session/TranscoderSession.h"

namespace qvs {

namespace {

constexpr uint32_t kScalerStatusSourceDone = 1;
constexpr uint32_t kScalerStatusFramesReady = 2;
constexpr uint32_t kScalerStatusSourceLost = 4;  ///< an extension

constexpr Failure kNoVideoScaler = {.reason = "The scaler implementation has no scaler of its own",
                                    .context = kLogContextVideoScaler};

Failure noPicture(uint32_t bufferIndex) {
  return {.reason = "This frame could not be read as BGRA", .number = bufferIndex};
}

constexpr Failure kNotDrawn = {.reason = "An overlay could not be drawn", .context = kLogContextVideoDecoder};

Failure notTransferred(bool scaled, uint32_t encoderIndex) {
  return {
      .reason = scaled ? "An overlay could not be drawn" : "The frame could not be scaled into its target",
      .context = kLogContextVideoEncoder,
      .index = static_cast<int>(encoderIndex)};
}

Failure captionsLost(uint32_t indexEncoder) {
  return {.reason = "A coded picture could not take its captions",
          .context = kLogContextVideoEncoder,
          .index = static_cast<int>(indexEncoder)};
}

Failure tooManyTargets(size_t count) {
  return {.reason = "More targets than there are buffer sets",
          .context = kLogContextVideoScaler,
          .number = static_cast<int64_t>(count)};
}

uint32_t allocateFrom(TranscoderSessionBase& session, const char* label, LogContext context,
                      VideoFrameBufferSet& set, uint32_t* bufferIndex) {
  const auto allocation = set.getVideoFrameBufferAllocator()->allocate();
  if (!allocation) {
    if (set.size() == 0) return session.fail(label, {.reason = "The pool has no frames", .context = context});
    // A host may take this for the sign to wait.
    return session.fail(
        label, {.reason = "All frames of the pool are taken", .context = context, .level = kLogInfo});
  }
  VideoFrameBuffer& frame = **allocation;
  frame.createJavaBufferAllocation();
  *bufferIndex = frame.getBufferIndex();
  return kSuccess;
}

void setOverlay(VideoOverlayFrames& overlays, uint32_t overlayIndex,
                std::unique_ptr<VideoOverlayFrame> frame) {
  if (frame) {
    overlays.putFrame(overlayIndex, frame.release());
  } else {
    overlays.clearFrame(overlayIndex);
  }
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
  constexpr const char* kLabel = "TranscoderSession::videoDecoderDecodeCodecConfig";
  return guarded(kLabel, [&]() -> uint32_t {
    const uint32_t result = forward(*this, kLabel, videoDecoderRef(), [&](auto& stage) {
      return stage.decodeCodecConfig(buffer, offset, len);
    });
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
  return forward(*this, "TranscoderSession::videoDecoderAddFrame", videoDecoderRef(), [&](auto& stage) {
    // Freed at the end: until it has the new block the decoder may read the one before.
    const CodedBlock before = std::exchange(currVideoDecodeBuffer, std::move(block));
    const CodedBlock& now = currVideoDecodeBuffer;
    return stage.addFrame(now.getMemory(), now.getOffset(), now.getLen(), timecode, frameType);
  });
}

uint32_t TranscoderSession::videoDecoderDecode(uint32_t bufferIndex, uint32_t* decoderStatus,
                                               uint64_t* timecode,
                                               std::vector<VideoFrameAncillaryData>& ancillaryData,
                                               TranscoderVideoDecoderFrameInfo& frameInfo) {
  constexpr const char* kLabel = "TranscoderSession::videoDecoderDecode";
  return guarded(kLabel, [&]() -> uint32_t {
    const uint32_t result =
        forward(*this, kLabel, videoDecoderRef(), [&](auto& stage) { return stage.decode(decoderStatus); });
    if (!videoDecoder) return result;
    VideoFrameBuffer* frame = getVideoDecoderBuffer(bufferIndex);
    if (frame == nullptr) return fail(kLabel, noDecodedFrame(bufferIndex));
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
    return fail("TranscoderSession::videoDecoderDecode", {.reason = "No storage for a frame of this width",
                                                          .context = kLogContextVideoDecoder,
                                                          .number = info.frameWidth});
  }
  const uint32_t result = videoDecoder->getDecodedFrame(frame);
  info.frameRate = videoDecoder->getFrameRate();
  frame.setFrameRate(info.frameRate);
  *timecode = frame.getTimecode();
  frame.getAncillaryDataObjs(ancillaryData);
  info.frameCount = ++decodeFrameCount;
  info.timecodeInfoCount = TranscoderVideoDecoderFrameInfo::kTimecodeInfoMax;
  frame.getTimecodeInfo(info.timecodeInfo.data(), &info.timecodeInfoCount);
  if (info.frameWidth != lastDecodeWidth || info.frameHeight != lastDecodeHeight) logFrameSize(info, frame);
  return result;
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
  constexpr const char* kLabel = "TranscoderSession::videoDecoderGetFrame";
  return guarded(kLabel, [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoDecoderBuffer(bufferIndex);
    if (!videoDecoder) return fail(kLabel, kNoVideoDecoder);
    if (frame == nullptr) return fail(kLabel, noDecodedFrame(bufferIndex));
    const uint32_t result = videoDecoder->getDecodedFrame(*frame);
    frame->setFrameRate(videoDecoder->getFrameRate());
    *timecode = frame->getTimecode();
    return result;
  });
}

uint32_t TranscoderSession::videoDecoderBufferAllocate(uint32_t* bufferIndex) {
  constexpr const char* kLabel = "TranscoderSession::videoDecoderBufferAllocate";
  return guarded(kLabel, [&]() -> uint32_t {
    return allocateFrom(*this, kLabel, kLogContextVideoDecoder, videoDecoderBuffers, bufferIndex);
  });
}

uint32_t TranscoderSession::videoDecoderBufferAcquire(uint32_t bufferIndex) {
  constexpr const char* kLabel = "TranscoderSession::videoDecoderBufferAcquire";
  return guarded(kLabel, [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoDecoderBuffer(bufferIndex);
    if (frame == nullptr) return fail(kLabel, noDecodedFrame(bufferIndex));
    frame->createJavaBufferAllocation();
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoDecoderBufferRelease(uint32_t bufferIndex) {
  constexpr const char* kLabel = "TranscoderSession::videoDecoderBufferRelease";
  return guarded(kLabel, [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoDecoderBuffer(bufferIndex);
    if (frame == nullptr) return fail(kLabel, noDecodedFrame(bufferIndex));
    frame->releaseJavaBufferAllocation();
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoDecoderBufferSetOverlayVideoFrame(uint32_t overlayIndex,
                                                                   VideoOverlayFrame* frame) {
  // Both overlay operations report under one name.
  return guarded("TranscoderSession::videoEncoderBufferSetOverlayVideoFrame", [&]() -> uint32_t {
    setOverlay(videoDecoderBuffers.getOverlayFrames(), overlayIndex,
               std::unique_ptr<VideoOverlayFrame>(frame));
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoDecoderTransferFrameStart(uint32_t decoderBufferIndex,
                                                           std::span<const uint32_t> encoderBufferIndexes) {
  constexpr const char* kLabel = "TranscoderSession::videoDecoderTransferFrameStart";
  return guarded(kLabel, [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoDecoderBuffer(decoderBufferIndex);
    if (encoderBufferIndexes.size() > videoEncoderBufferSets.size()) {
      return fail(kLabel, tooManyTargets(encoderBufferIndexes.size()));
    }
    if (frame == nullptr) return fail(kLabel, noDecodedFrame(decoderBufferIndex));
    if (!isDecoderFrameSizeValid(frame->getWidth(), frame->getHeight())) {
      return reportFrameSizeOutOfRange(frame->getWidth(), frame->getHeight());
    }
    decoderFrameSizeReportOutOfRange = 1;
    frame->transferLocationFromDecode();
    for (VideoEncoderWrapper& encoder : videoEncoders) {
      if (encoder.captions.isActive()) encoder.captions.take(*frame);
    }
    TranscoderSessionNotifyManager& listeners = *TranscoderSessionNotifyManager::getInstance();
    listeners.notifyVideoFrameDecodeListenersBeforeOverlay(getSessionId(), videoDecoder.get(), frame);
    VideoOverlayFrames& overlays = videoDecoderBuffers.getOverlayFrames();
    const uint32_t drawn = videoDecoderBuffers.applyOverlays(*frame, overlays);
    listeners.notifyVideoFrameDecodeListenersAfterOverlay(getSessionId(), videoDecoder.get(), frame);
    prepareFractionalFrames(*frame, encoderBufferIndexes);
    return drawn == kSuccess ? drawn : fail(kLabel, kNotDrawn);
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
  constexpr const char* kLabel = "TranscoderSession::videoDecoderTransferFrame";
  return guarded(kLabel, [&]() -> uint32_t {
    // Encoder i reads set i.
    VideoFrameBuffer* source = getVideoDecoderBuffer(decoderFrameIndex);
    if (source == nullptr) return fail(kLabel, noDecodedFrame(decoderFrameIndex));
    VideoFrameBuffer* target = targetFrame(kLabel, encoderIndex, encoderFrameIndex);
    if (target == nullptr) return kFailure;
    IVideoEncoder* encoder = getVideoEncoder(encoderIndex);
    if (encoder == nullptr) return fail(kLabel, noVideoEncoder(encoderIndex));
    VideoFrameBufferSet* set = getVideoEncoderBufferSet(encoderIndex);
    VideoOverlayFrames& overlays = set->getOverlayFrames();
    TranscoderSessionNotifyManager& listeners = *TranscoderSessionNotifyManager::getInstance();
    set->setScaleFlags(source->getScaleFlags());
    const uint32_t transferred = set->transferFrame(*source, *target, overlays);
    listeners.notifyVideoFrameEncodeListenersBeforeOverlay(getSessionId(), encoder, source, target);
    const uint32_t drawn = set->applyOverlays(*target, overlays);
    listeners.notifyVideoFrameEncodeListenersAfterOverlay(getSessionId(), encoder, source, target);
    if (transferred != kSuccess || drawn != kSuccess) {
      return fail(kLabel, notTransferred(transferred == kSuccess, encoderIndex));
    }
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoScalerScaleFrame(uint32_t decoderFrameIndex,
                                                  std::span<const uint32_t> encoderBufferIndexes,
                                                  uint32_t encoderCount, uint32_t* scalerStatus) {
  constexpr const char* kLabel = "TranscoderSession::videoScalerScaleFrame";
  return guarded(kLabel, [&]() -> uint32_t {
    *scalerStatus = 0;
    if (!videoScaler) return fail(kLabel, kNoVideoScaler);
    if (encoderBufferIndexes.size() > videoEncoderBufferSets.size() || encoderCount > kScalerTargetsMax) {
      return fail(kLabel, tooManyTargets(std::max<size_t>(encoderBufferIndexes.size(), encoderCount)));
    }
    VideoFrameBuffer* source = getVideoDecoderBuffer(decoderFrameIndex);
    const bool flush = decoderFrameIndex == kNoDecodedFrame;
    if (source == nullptr && !flush) return fail(kLabel, noDecodedFrame(decoderFrameIndex));
    TranscoderSessionNotifyManager& listeners = *TranscoderSessionNotifyManager::getInstance();
    // No overlay runs between the two on this path.
    if (!flush) {
      listeners.notifyVideoFrameDecodeListenersBeforeOverlay(getSessionId(), videoDecoder.get(), source);
      listeners.notifyVideoFrameDecodeListenersAfterOverlay(getSessionId(), videoDecoder.get(), source);
    }
    if (!gatherScalerTargets(source, encoderBufferIndexes)) return kFailure;
    uint32_t count = encoderCount;
    const bool wanted =
        encoderCount != 0;  // without targets the scaler forgets the source, which is no failure
    if (videoScaler->scaleFrame(source, &scalerTargets, &count) != kSuccess && wanted) {
      fail(kLabel, {.reason = "The scaler failed", .context = kLogContextVideoScaler});  // told, and no more
    }
    for (size_t index = 0; index < scalerTargets.size(); ++index) {
      IVideoEncoder* encoder = getVideoEncoder(static_cast<uint32_t>(index));
      VideoFrameBuffer* target = scalerTargets[index].frame;
      listeners.notifyVideoFrameEncodeListenersBeforeOverlay(getSessionId(), encoder, nullptr, target);
      listeners.notifyVideoFrameEncodeListenersAfterOverlay(getSessionId(), encoder, nullptr, target);
    }
    const bool lost = wanted && videoScaler->getLastStatus() != kSuccess;
    *scalerStatus = kScalerStatusSourceDone | (count != 0 ? kScalerStatusFramesReady : 0) |
                    (lost ? kScalerStatusSourceLost : 0);
    return kSuccess;
  });
}

bool TranscoderSession::gatherScalerTargets(const VideoFrameBuffer* source,
                                            std::span<const uint32_t> encoderBufferIndexes) {
  constexpr const char* kLabel = "TranscoderSession::videoScalerScaleFrame";
  scalerTargets.clear();
  for (uint32_t index = 0; index < encoderBufferIndexes.size(); ++index) {
    VideoFrameBuffer* target = targetFrame(kLabel, index, encoderBufferIndexes[index]);
    if (target == nullptr) return false;
    if (getVideoEncoder(index) == nullptr) {
      fail(kLabel, noVideoEncoder(index));
      return false;
    }
    VideoFrameBufferSet* set = getVideoEncoderBufferSet(index);
    if (source != nullptr) set->setScaleFlags(source->getScaleFlags());
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
  constexpr const char* kLabel = "TranscoderSession::videoEncoderBufferAllocate";
  return guarded(kLabel, [&]() -> uint32_t {
    VideoFrameBufferSet* set = getVideoEncoderBufferSet(setIndex);
    if (set == nullptr) return fail(kLabel, noBufferSet(setIndex));
    return allocateFrom(*this, kLabel, kLogContextVideoEncoder, *set, bufferIndex);
  });
}

VideoFrameBuffer* TranscoderSession::targetFrame(const char* label, uint32_t setIndex, uint32_t bufferIndex) {
  VideoFrameBufferSet* set = getVideoEncoderBufferSet(setIndex);
  VideoFrameBuffer* frame = set != nullptr ? set->getVideoFrameBuffer(bufferIndex) : nullptr;
  if (set == nullptr) fail(label, noBufferSet(setIndex));
  if (set != nullptr && frame == nullptr) fail(label, noTargetFrame(bufferIndex));
  return frame;
}

uint32_t TranscoderSession::videoEncoderBufferAcquire(uint32_t setIndex, uint32_t bufferIndex) {
  constexpr const char* kLabel = "TranscoderSession::videoEncoderBufferAcquire";
  return guarded(kLabel, [&]() -> uint32_t {
    VideoFrameBuffer* frame = targetFrame(kLabel, setIndex, bufferIndex);
    if (frame == nullptr) return kFailure;
    frame->createJavaBufferAllocation();
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoEncoderBufferRelease(uint32_t setIndex, uint32_t bufferIndex) {
  constexpr const char* kLabel = "TranscoderSession::videoEncoderBufferRelease";
  return guarded(kLabel, [&]() -> uint32_t {
    VideoFrameBuffer* frame = targetFrame(kLabel, setIndex, bufferIndex);
    if (frame == nullptr) return kFailure;
    frame->releaseJavaBufferAllocation();
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoEncoderBufferSetOverlayVideoFrame(uint32_t setIndex, uint32_t overlayIndex,
                                                                   VideoOverlayFrame* frame) {
  constexpr const char* kLabel = "TranscoderSession::videoEncoderBufferSetOverlayVideoFrame";
  return guarded(kLabel, [&]() -> uint32_t {
    std::unique_ptr<VideoOverlayFrame> owned(frame);
    VideoOverlayFrames* overlays = getVideoEncoderOverlayFrames(setIndex);
    if (overlays == nullptr) return fail(kLabel, noBufferSet(setIndex));
    setOverlay(*overlays, overlayIndex, std::move(owned));
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoEncoderAddFrame(uint32_t indexEncoder, uint32_t indexBuffer,
                                                 uint32_t setIndex, uint32_t frameType, uint64_t timecode) {
  constexpr const char* kLabel = "TranscoderSession::videoEncoderAddFrame";
  return forward(*this, kLabel, videoEncoderRef(indexEncoder), [&](auto& stage) -> uint32_t {
    VideoFrameBuffer* frame = targetFrame(kLabel, setIndex, indexBuffer);
    if (frame == nullptr) return kFailure;
    CaptionCarrier& captions = videoEncoders[indexEncoder].captions;
    if (captions.isActive()) captions.ride(timecode);
    return stage.addFrame(*frame, frameType, timecode);
  });
}

uint32_t TranscoderSession::videoEncoderSkipFrame(uint32_t indexEncoder, uint32_t indexBuffer,
                                                  uint32_t setIndex, uint32_t frameType, uint64_t timecode) {
  constexpr const char* kLabel = "TranscoderSession::videoEncoderSkipFrame";
  return forward(*this, kLabel, videoEncoderRef(indexEncoder), [&](auto& stage) -> uint32_t {
    VideoFrameBuffer* frame = targetFrame(kLabel, setIndex, indexBuffer);
    return frame != nullptr ? stage.skipFrame(*frame, frameType, timecode) : kFailure;
  });
}

uint32_t TranscoderSession::videoEncoderGetEncodedFrames(uint32_t indexEncoder,
                                                         EncodedVideoUnits& encodedFrames) {
  constexpr const char* kLabel = "TranscoderSession::videoEncoderGetEncodedFrames";
  return forward(*this, kLabel, videoEncoderRef(indexEncoder), [&](auto& stage) -> uint32_t {
    std::vector<VideoFrameEncoded>& units = encodedFrames.list();
    const size_t before = units.size();
    const uint32_t result = stage.getEncodedFrames(units);
    CaptionCarrier& captions = videoEncoders[indexEncoder].captions;
    if (captions.isActive() && !captions.deliver(stage.getCodec(), units, before)) {
      fail(kLabel, captionsLost(indexEncoder));  // told; the picture goes on without
    }
    return result;
  });
}

uint32_t TranscoderSession::videoDecoderGetFrameBGRA(uint32_t bufferIndex, uint8_t** buffer, uint32_t* len,
                                                     uint32_t* width, uint32_t* height, uint64_t* timecode) {
  constexpr const char* kLabel = "TranscoderSession::videoDecoderGetFrameBGRA";
  return guarded(kLabel, [&]() -> uint32_t {
    VideoFrameBuffer* frame = getVideoDecoderBuffer(bufferIndex);
    if (frame == nullptr) return fail(kLabel, noDecodedFrame(bufferIndex));
    const uint32_t result = frame->getFrameBGRA(buffer, len, width, height, timecode);
    return result == kSuccess ? result : fail(kLabel, noPicture(bufferIndex));
  });
}

uint32_t TranscoderSession::videoEncoderGetFrameBGRA(uint32_t setIndex, uint32_t bufferIndex,
                                                     uint8_t** buffer, uint32_t* len, uint32_t* width,
                                                     uint32_t* height, uint64_t* timecode) {
  constexpr const char* kLabel = "TranscoderSession::videoEncoderGetFrameBGRA";
  return guarded(kLabel, [&]() -> uint32_t {
    VideoFrameBuffer* frame = targetFrame(kLabel, setIndex, bufferIndex);
    if (frame == nullptr) return kFailure;
    const uint32_t result = frame->getFrameBGRA(buffer, len, width, height, timecode);
    return result == kSuccess ? result : fail(kLabel, noPicture(bufferIndex));
  });
}

}  // namespace qvs
