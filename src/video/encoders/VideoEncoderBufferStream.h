#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "bufstream/CodedUnitSink.h"
#include "frames/VideoFrameEncoded.h"
#include "platform/IConcurrentLock.h"
#include "platform/RingQueue.h"

namespace qvs {

/// The output object of an encoder that writes through a stream record: gathers one access unit, turns Annex
/// B start codes into big-endian lengths, classifies the frame and stamps its timecodes.
///
/// The stream functions may run on threads of the encoder; `addFrameTimecode` and `getEncodedFrames` on the
/// session's.
class VideoEncoderBufferStream {
 public:
  static constexpr uint32_t kCodecH264 = 7;
  static constexpr uint32_t kCodecH265 = 12;
  static constexpr uint32_t kDefaultBufferSize = 345856;

  /// Callbacks by which a host takes over the memory of encoded frames; the first argument is its own
  /// pointer.
  using ByteArrayNew = void* (*)(void* host, uint32_t size);
  using ByteArrayFree = void (*)(void* host, void* handle);
  using ByteArrayLock = void* (*)(void* host, void* handle);
  using ByteArrayUnlock = void (*)(void* host, void* handle, void* bytes);

  VideoEncoderBufferStream();
  ~VideoEncoderBufferStream();
  VideoEncoderBufferStream(const VideoEncoderBufferStream&) = delete;
  VideoEncoderBufferStream& operator=(const VideoEncoderBufferStream&) = delete;

  /// The record to hand to the encoder; it stays this object's.
  bufstream_tt* getStream() { return sink.getStream(); }

  uint32_t getBufferSize() const { return sink.getCapacity(); }
  /// Bytes of the largest access unit. Before encoding starts only; throws without memory.
  void setBufferSize(uint32_t size);
  void setIsBFrames(uint8_t value) { isBFrames = value; }
  void setCodec(uint32_t value) { codec = value; }
  void setReorderDelay(int32_t value) { reorderDelay = value; }
  int32_t getReorderDelay() const { return reorderDelay; }
  void setMaintainOriginPTS(uint8_t value) { maintainOriginalPts = value; }
  uint8_t getMaintainOriginPTS() const { return maintainOriginalPts; }
  void setAllocator(void* host, ByteArrayNew create, ByteArrayFree destroy, ByteArrayLock lockBytes);
  void setAllocator2(void* host, ByteArrayNew create, ByteArrayFree destroy, ByteArrayLock lockBytes,
                     ByteArrayUnlock unlockBytes);

  /// Once per frame given to the encoder; 100 ns units.
  uint32_t addFrameTimecode(uint64_t timecode);
  /// Takes back the last one, of a frame that the encoder refused.
  void dropFrameTimecode();
  uint32_t getEncodedFrameCount();

  /// Moves the waiting units behind what `out` holds; the caller then owns their bytes.
  uint32_t getEncodedFrames(std::vector<VideoFrameEncoded>& out);

  /// Frees all waiting units.
  void close();

 private:
  static uint32_t auxInfo(bufstream_tt* stream, uint32_t offset, uint32_t code, void* info, uint32_t size);

  struct Unit;
  struct UnitTime {
    uint64_t timecode;  ///< milliseconds
    int64_t offset;     ///< milliseconds from decoding to presentation
  };

  Unit allocateUnit(uint32_t size) const;
  void releaseUnit(const Unit& unit) const;
  void announceUnit(int64_t startTime);
  void closeFrame(int64_t dtsMs, int64_t ptsMs);
  VideoFrameEncoded stamped(const Unit& unit, uint32_t len, uint32_t frameType, int64_t dtsMs, int64_t ptsMs);
  UnitTime reorderedTime(int64_t dtsMs, int64_t ptsMs);

  std::unique_ptr<IConcurrentLock> lock;  ///< guards frames and frameTimecodes
  CodedUnitSink sink;
  std::vector<VideoFrameEncoded> frames;
  RingQueue<uint64_t> frameTimecodes;          ///< 100 ns units, in input order
  uint64_t pendingTimecodeDTS = ~uint64_t{0};  ///< milliseconds
  uint64_t pendingTimecode = ~uint64_t{0};     ///< milliseconds
  uint8_t isBFrames = 0;
  uint32_t codec = kCodecH264;
  int32_t reorderDelay = 0;
  uint8_t maintainOriginalPts = 1;
  int64_t frameTimeShift = -1;  ///< milliseconds; -1 until the first unit with B frames decides it
  int64_t useMCTimecodes = 1;   ///< 0: timecodes come from the input list
  void* allocHostPtr = nullptr;
  ByteArrayNew byteArrayNew = nullptr;
  ByteArrayFree byteArrayFree = nullptr;
  ByteArrayLock byteArrayLock = nullptr;
  ByteArrayUnlock byteArrayUnlock = nullptr;
};

}  // namespace qvs
