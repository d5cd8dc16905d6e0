#pragma once

#include <qvs/video_encoder.h>

#include <cstdint>
#include <span>
#include <vector>

namespace qvs::plugins {

/// Where the bytes of coded frames come from: the transcoder's allocator, malloc until it is told.
struct FrameAllocator {
  void* host = nullptr;
  QvsByteArrayNew create = nullptr;
  QvsByteArrayFree release = nullptr;
  QvsByteArrayLock lock = nullptr;
  QvsByteArrayUnlock unlock = nullptr;
};

/// A coded frame's times and kind.
struct FrameInfo {
  uint32_t frameType = QVS_FRAME_PREDICTED;
  uint64_t timecode = 0;       ///< decoding, milliseconds
  int64_t timecodeOffset = 0;  ///< presentation minus decoding, milliseconds
};

/// The output arrays of addFrame2 and drain.
struct OutputArrays {
  void** frames;
  uint32_t* sizes;
  uint32_t* frameTypes;
  uint64_t* timecodes;
  uint64_t* timecodeOffsets;
  uint32_t* count;  ///< in: room; out: frames
};

/// Coded frames on their way to the transcoder, oldest first. More than a call can hand out wait for the next.
class CodedFrames {
 public:
  CodedFrames() = default;
  ~CodedFrames() { clear(); }
  CodedFrames(const CodedFrames&) = delete;
  CodedFrames& operator=(const CodedFrames&) = delete;

  void setAllocator(const FrameAllocator& given) { allocator = given; }

  /// One frame from bytes that lie in `parts`, one behind the other. False where there is no memory.
  bool add(const FrameInfo& info, std::span<const std::span<const uint8_t>> parts);

  /// One frame of H.264 or H.265 from units behind start codes: each gets its length in front instead.
  bool addAnnexB(const FrameInfo& info, std::span<const uint8_t> bytes);

  bool empty() const { return waiting.empty(); }
  void handOut(const OutputArrays& out);
  void handOut(PluginVideoEncoderOutput& out);
  void clear();

 private:
  struct Frame {
    void* array;
    uint32_t size;
    FrameInfo info;
  };

  /// Calls `put(index, frame)` for as many of the oldest as there is room for, which then are the caller's.
  template <typename Put>
  uint32_t handOut(uint32_t room, Put put);

  /// Room for a new frame, filled by `write(uint8_t*)`.
  template <typename Write>
  bool make(const FrameInfo& info, uint64_t size, Write write);

  FrameAllocator allocator;
  std::vector<Frame> waiting;  ///< keeps its room: nothing is allocated a frame but the bytes
};

/// Calls `each(unit)` for every unit behind a start code of three or four bytes, without it.
template <typename Each>
void forEachUnit(std::span<const uint8_t> bytes, Each each) {
  const size_t end = bytes.size();
  size_t at = 0;
  const auto startCodeAt = [&](size_t i) {
    return i + 3 <= end && bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1;
  };
  while (at < end && !startCodeAt(at)) ++at;
  while (at < end) {
    const size_t start = at + 3;
    size_t next = start;
    while (next < end && !startCodeAt(next)) ++next;
    size_t stop = next;
    // Zeros in front of a start code are not the unit's; a unit never ends in one.
    while (stop > start && bytes[stop - 1] == 0) --stop;
    if (stop > start) each(bytes.subspan(start, stop - start));
    at = next;
  }
}

}  // namespace qvs::plugins
