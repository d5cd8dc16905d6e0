#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "bufstream/CodedUnitSink.h"
#include "frames/AudioFrameEncoded.h"
#include "platform/IConcurrentLock.h"
#include "platform/RingQueue.h"

namespace qvs {

/// The output object of an audio encoder that writes through a stream record: gathers one coded frame at a
/// time and pairs the nth frame with the nth timecode, whatever the codec holds back.
///
/// The stream functions may run on threads of the codec; `addTimecode` and the fetches on the session's.
class AudioEncoderBufferStream {
 public:
  static constexpr uint32_t kDefaultBufferSize = 8192;

  AudioEncoderBufferStream();
  ~AudioEncoderBufferStream();
  AudioEncoderBufferStream(const AudioEncoderBufferStream&) = delete;
  AudioEncoderBufferStream& operator=(const AudioEncoderBufferStream&) = delete;

  /// The record to hand to the encoder; it stays this object's.
  bufstream_tt* getStream() { return sink.getStream(); }
  bool hasLock() const { return lock != nullptr; }

  void setChannels(uint32_t value) { pendingChannels = value; }
  void setSampleRate(uint32_t value) { pendingSampleRate = value; }

  /// Bytes of the largest coded frame. Drops a frame in the making; without memory there is no room at all.
  void setBufferSize(uint32_t size) { sink.setCapacity(size); }
  uint32_t getBufferSize() const { return sink.getCapacity(); }
  uint32_t getBuffers() const { return 1; }

  /// Before the samples that start a frame go into the codec.
  void addTimecode(uint64_t timecode);

  /// Moves the waiting frames behind what `out` holds; the caller then owns their bytes.
  uint32_t getEncodedFrames(std::vector<AudioFrameEncoded>& out);
  uint32_t getEncodedFrameCount();

  /// Frees all waiting frames and forgets the timecodes of frames that will not come.
  void close();

 private:
  static uint32_t auxInfo(bufstream_tt* stream, uint32_t offset, uint32_t code, void* info, uint32_t size);

  void closeFrame();
  uint64_t takeTimecode();

  std::unique_ptr<IConcurrentLock> lock;  ///< guards frames and pendingTimecodes
  CodedUnitSink sink;
  std::vector<AudioFrameEncoded> frames;
  RingQueue<uint64_t> pendingTimecodes;  ///< samples, one for each frame in the codec
  uint32_t pendingChannels = 0;
  uint32_t pendingSampleRate = 0;
};

}  // namespace qvs
