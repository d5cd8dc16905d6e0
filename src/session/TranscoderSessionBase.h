#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "audio/IAudioDecoder.h"
#include "contract/StageIds.h"
#include "frames/AudioSampleBufferSet.h"
#include "frames/VideoFrameBufferSet.h"
#include "frames/VideoFrameBufferSetWrapper.h"
#include "log/FailureLog.h"
#include "log/LogCollector.h"
#include "session/AudioEncoderWrapper.h"
#include "session/ITranscoderSession.h"
#include "session/VideoEncoderWrapper.h"
#include "video/decoders/IVideoDecoder.h"
#include "video/scaling/IVideoScaler.h"

namespace qvs {

/// A stage of a session that an operation is meant for.
template <typename Stage>
struct StageRef {
  Stage* stage;  ///< null where the session has none
  int index;     ///< as the host numbers it
};

/// What a session owns: its stages, the pools between them and its log. Indices past the end give null.
class TranscoderSessionBase : public ITranscoderSession {
 public:
  ~TranscoderSessionBase() override;
  TranscoderSessionBase(const TranscoderSessionBase&) = delete;
  TranscoderSessionBase& operator=(const TranscoderSessionBase&) = delete;

  IVideoDecoder* getVideoDecoder() const { return videoDecoder.get(); }
  IVideoScaler* getVideoScaler() const { return videoScaler.get(); }
  IAudioDecoder* getAudioDecoder() const { return audioDecoder.get(); }
  IVideoEncoder* getVideoEncoder(uint32_t indexEncoder) const;
  IAudioEncoder* getAudioEncoder(uint32_t indexEncoder) const;
  AudioSampleBuffer* getAudioEncoderEncodeBuffer(uint32_t indexEncoder) const;
  VideoFrameBufferSet& getVideoDecoderBuffers() { return videoDecoderBuffers; }
  VideoFrameBuffer* getVideoDecoderBuffer(uint32_t indexBuffer);
  VideoFrameBufferSet* getVideoEncoderBufferSet(uint32_t setIndex) const;
  VideoFrameBuffer* getVideoEncoderBuffer(uint32_t setIndex, uint32_t indexBuffer) const;
  VideoOverlayFrames* getVideoEncoderOverlayFrames(uint32_t setIndex) const;
  AudioSampleBufferSet& getAudioDecoderBuffers() { return audioDecoderBuffers; }
  uint32_t getVideoEncoderCount() const { return static_cast<uint32_t>(videoEncoders.size()); }
  uint32_t getAudioEncoderCount() const { return static_cast<uint32_t>(audioEncoders.size()); }
  uint32_t getVideoEncoderBufferSetCount() const {
    return static_cast<uint32_t>(videoEncoderBufferSets.size());
  }

  uint32_t getVideoScalerImplementation() const { return videoScalerImplementation; }
  int32_t getVideoScalerGPUID() const { return videoScalerGPUID; }
  uint64_t getVideoScalerFlags() const { return videoScalerFlags; }

  /// Read by the pools when they are made; VideoFrameBufferSet tells the bits.
  void setVideoScalerFlags(uint64_t flags) { videoScalerFlags = flags; }

  LogCollector& getLogCollector() { return logCollector; }
  ILogger* getLogger() { return &logCollector; }

  /// kFailure; told in the session's log.
  uint32_t fail(const char* label, const Failure& failure);

 protected:
  TranscoderSessionBase() = default;

  StageRef<IVideoDecoder> videoDecoderRef() const { return {getVideoDecoder(), 0}; }
  StageRef<IAudioDecoder> audioDecoderRef() const { return {getAudioDecoder(), 0}; }
  StageRef<IVideoEncoder> videoEncoderRef(uint32_t index) const {
    return {getVideoEncoder(index), static_cast<int>(index)};
  }
  StageRef<IAudioEncoder> audioEncoderRef(uint32_t index) const {
    return {getAudioEncoder(index), static_cast<int>(index)};
  }
  StageRef<AudioEncoderWrapper> renditionRef(uint32_t index);

  /// Waits until no encoder reads a frame any more: before pools or frame storage go.
  void finishVideoEncoders();

  /// Gives the pictures that lie on a card back to it: before a stage that made or reads them goes.
  void releaseCardPictures();

  LogCollector logCollector;  ///< first, so that it outlives all stages
  FailureLog failures;
  std::unique_ptr<IVideoDecoder> videoDecoder;
  std::unique_ptr<IVideoScaler>
      videoScaler;  ///< only hardware that makes all renditions in one pass has an object
  std::unique_ptr<IAudioDecoder> audioDecoder;
  VideoFrameBufferSet videoDecoderBuffers;
  AudioSampleBufferSet audioDecoderBuffers;
  std::vector<VideoFrameBufferSetWrapper> videoEncoderBufferSets;  ///< by set index
  std::vector<VideoFrameBufferSetWrapper> videoScalerBufferSets;
  uint32_t videoEncoderBufferCount = 0;            ///< frames that each new set gets
  std::vector<VideoEncoderWrapper> videoEncoders;  ///< by encoder index
  std::vector<AudioEncoderWrapper> audioEncoders;  ///< by encoder index
  uint32_t videoScalerImplementation = kScaleCPU;
  int32_t videoScalerGPUID = -1;
  uint64_t videoScalerFlags = 0;
};

}  // namespace qvs
