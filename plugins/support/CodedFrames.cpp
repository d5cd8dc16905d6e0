// The coded frames that a plug-in has ready, in memory of the transcoder.
#include "CodedFrames.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace qvs::plugins {

template <typename Write>
bool CodedFrames::make(const FrameInfo& info, uint64_t size, Write write) {
  if (size > std::numeric_limits<uint32_t>::max()) return false;
  const auto bytes = static_cast<uint32_t>(size);
  // Room first: nothing may fail once the bytes are there.
  if (waiting.size() == waiting.capacity())
    waiting.reserve(2 * waiting.size() + QVS_VIDEO_ENCODER_FRAMES_MAX);
  void* array = allocator.create != nullptr ? allocator.create(allocator.host, bytes) : std::malloc(bytes);
  if (array == nullptr) return false;
  uint8_t* memory =
      allocator.lock != nullptr ? allocator.lock(allocator.host, array) : static_cast<uint8_t*>(array);
  if (memory == nullptr) {
    if (allocator.release != nullptr) allocator.release(allocator.host, array);
    return false;
  }
  write(memory);
  if (allocator.unlock != nullptr) allocator.unlock(allocator.host, array, memory);
  waiting.push_back({array, bytes, info});
  return true;
}

bool CodedFrames::add(const FrameInfo& info, std::span<const std::span<const uint8_t>> parts) {
  uint64_t size = 0;
  for (std::span<const uint8_t> part : parts) size += part.size();
  return make(info, size, [&](uint8_t* to) {
    for (std::span<const uint8_t> part : parts) to = std::copy(part.begin(), part.end(), to);
  });
}

bool CodedFrames::addAnnexB(const FrameInfo& info, std::span<const uint8_t> bytes) {
  uint64_t size = 0;
  forEachUnit(bytes, [&](std::span<const uint8_t> unit) { size += 4 + unit.size(); });
  return make(info, size, [&](uint8_t* to) {
    forEachUnit(bytes, [&](std::span<const uint8_t> unit) {
      for (int shift = 24; shift >= 0; shift -= 8) *to++ = static_cast<uint8_t>(unit.size() >> shift);
      to = std::copy(unit.begin(), unit.end(), to);
    });
  });
}

template <typename Put>
uint32_t CodedFrames::handOut(uint32_t room, Put put) {
  const auto most = std::min<size_t>(room, QVS_VIDEO_ENCODER_FRAMES_MAX);
  const size_t given = std::min(most, waiting.size());
  for (size_t i = 0; i < given; ++i) put(i, waiting[i]);
  waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(given));
  return static_cast<uint32_t>(given);
}

void CodedFrames::handOut(const OutputArrays& out) {
  *out.count = handOut(*out.count, [&](size_t i, const Frame& frame) {
    out.frames[i] = frame.array;
    out.sizes[i] = frame.size;
    out.frameTypes[i] = frame.info.frameType;
    out.timecodes[i] = frame.info.timecode;
    out.timecodeOffsets[i] = static_cast<uint64_t>(frame.info.timecodeOffset);
  });
}

void CodedFrames::handOut(PluginVideoEncoderOutput& out) {
  out.frameCount = handOut(out.maxFrameCount, [&](size_t i, const Frame& frame) {
    VideoFrameEncodedData& to = out.frames[i];
    to = {};
    to.buffer = static_cast<uint8_t*>(frame.array);
    to.len = frame.size;
    to.timecode = frame.info.timecode;
    to.timecodeOffset = frame.info.timecodeOffset;
    to.frameType = frame.info.frameType;
    to.isAllocated = 1;
  });
}

void CodedFrames::clear() {
  for (const Frame& frame : waiting) {
    // An allocator of the first form has no way to give back what it made; the transcoder's is malloc.
    if (allocator.release != nullptr) {
      allocator.release(allocator.host, frame.array);
    } else {
      std::free(frame.array);
    }
  }
  waiting.clear();
}

}  // namespace qvs::plugins
