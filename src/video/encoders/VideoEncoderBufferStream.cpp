// The stream record behind video encoders: gathers access units, converts them, stamps timecodes.
#include "video/encoders/VideoEncoderBufferStream.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <span>

#include "platform/ConcurrentLockFactory.h"
#include "platform/Guard.h"
#include "video/encoders/NalUnits.h"

namespace qvs {

namespace {

constexpr uint64_t kTimecodeUnitsPerMs = 10000;  // 100 ns
constexpr int64_t kClockTicksPerMs = 27000;      // 27 MHz
constexpr uint64_t kNoTimecode = ~uint64_t{0};

}  // namespace

/// The memory of one finished unit: malloc'ed, or the host's array behind `handle`.
struct VideoEncoderBufferStream::Unit {
  uint8_t* bytes = nullptr;
  void* handle = nullptr;
};

VideoEncoderBufferStream::VideoEncoderBufferStream()
    : lock(ConcurrentLockFactory::newConcurrentLock()), sink(this, auxInfo) {
  setBufferSize(kDefaultBufferSize);
}

VideoEncoderBufferStream::~VideoEncoderBufferStream() {
  close();
  guarded("VideoEncoderBufferStream::delete[lock]", [&] { lock.reset(); });
}

void VideoEncoderBufferStream::setBufferSize(uint32_t size) {
  if (!sink.setCapacity(size)) throw std::bad_alloc();
}

void VideoEncoderBufferStream::setAllocator(void* host, ByteArrayNew create, ByteArrayFree destroy,
                                            ByteArrayLock lockBytes) {
  setAllocator2(host, create, destroy, lockBytes, nullptr);
}

void VideoEncoderBufferStream::setAllocator2(void* host, ByteArrayNew create, ByteArrayFree destroy,
                                             ByteArrayLock lockBytes, ByteArrayUnlock unlockBytes) {
  allocHostPtr = host;
  byteArrayNew = create;
  byteArrayFree = destroy;
  byteArrayLock = lockBytes;
  byteArrayUnlock = unlockBytes;
}

uint32_t VideoEncoderBufferStream::addFrameTimecode(uint64_t timecode) {
  return guarded("VideoEncoderBufferStream::addFrameTimecode", [&]() -> uint32_t {
    ScopedLock guard(*lock);
    frameTimecodes.push(timecode);
    return kSuccess;
  });
}

void VideoEncoderBufferStream::dropFrameTimecode() {
  ScopedLock guard(*lock);
  if (!frameTimecodes.empty()) frameTimecodes.popBack();
}

uint32_t VideoEncoderBufferStream::getEncodedFrameCount() {
  ScopedLock guard(*lock);
  return static_cast<uint32_t>(frames.size());
}

uint32_t VideoEncoderBufferStream::getEncodedFrames(std::vector<VideoFrameEncoded>& out) {
  return guarded("VideoEncoderBufferStream::getEncodedFrames", [&]() -> uint32_t {
    ScopedLock guard(*lock);
    out.insert(out.end(), frames.begin(), frames.end());
    frames.clear();
    return kSuccess;
  });
}

void VideoEncoderBufferStream::close() {
  ScopedLock guard(*lock);
  for (VideoFrameEncoded& frame : frames) releaseUnit({frame.getBuffer(), frame.getNBuffer()});
  frames.clear();
}

uint32_t VideoEncoderBufferStream::auxInfo(bufstream_tt* stream, uint32_t, uint32_t code, void* info,
                                           uint32_t) {
  auto& self = CodedUnitSink::ownerOf<VideoEncoderBufferStream>(stream);
  if (code == STREAM_RESET_CODE) {
    self.sink.discard();
  } else if (code == TIME_STAMP_INFO && info != nullptr) {
    self.announceUnit(static_cast<const mc_sample_info_struct_t*>(info)->rtStart);
  } else if (code == VIDEO_AU_CODE && info != nullptr) {
    const auto& unit = *static_cast<const mc_v_au_struct_t*>(info);
    self.closeFrame(unit.DTS / kClockTicksPerMs, unit.PTS / kClockTicksPerMs);
  }
  return 0;
}

void VideoEncoderBufferStream::announceUnit(int64_t startTime) {
  pendingTimecodeDTS = static_cast<uint64_t>(startTime / static_cast<int64_t>(kTimecodeUnitsPerMs));
  pendingTimecode = kNoTimecode;
  ScopedLock guard(*lock);
  if (frameTimecodes.empty()) return;
  pendingTimecode = frameTimecodes.front() / kTimecodeUnitsPerMs;
  frameTimecodes.pop();
}

VideoEncoderBufferStream::Unit VideoEncoderBufferStream::allocateUnit(uint32_t size) const {
  if (byteArrayNew == nullptr) return {static_cast<uint8_t*>(std::malloc(size)), nullptr};
  Unit unit;
  unit.handle = byteArrayNew(allocHostPtr, size);
  if (unit.handle != nullptr && byteArrayLock != nullptr) {
    unit.bytes = static_cast<uint8_t*>(byteArrayLock(allocHostPtr, unit.handle));
  }
  if (unit.bytes == nullptr) releaseUnit(unit);
  return unit;
}

void VideoEncoderBufferStream::releaseUnit(const Unit& unit) const {
  if (unit.handle == nullptr) {
    std::free(unit.bytes);
  } else if (byteArrayFree != nullptr) {
    byteArrayFree(allocHostPtr, unit.handle);
  }
}

void VideoEncoderBufferStream::closeFrame(int64_t dtsMs, int64_t ptsMs) {
  const std::span<const uint8_t> written = sink.take();
  if (written.empty()) return;
  const auto len = static_cast<uint32_t>(written.size());
  const Unit unit = allocateUnit(len);
  if (unit.bytes == nullptr) return;
  std::memcpy(unit.bytes, written.data(), len);
  const uint32_t frameType = codec == kCodecH265 ? NalUnits::processH265Frame(unit.bytes, len)
                                                 : NalUnits::processH264Frame(unit.bytes, len);
  bool kept = false;
  if (frameType != 0) {
    guarded("VideoEncoderBufferStream::closeFrame", [&] {
      ScopedLock guard(*lock);
      frames.push_back(stamped(unit, len, frameType, dtsMs, ptsMs));
      kept = true;
    });
  }
  if (unit.handle != nullptr && byteArrayUnlock != nullptr)
    byteArrayUnlock(allocHostPtr, unit.handle, unit.bytes);
  if (!kept) releaseUnit(unit);
}

VideoFrameEncoded VideoEncoderBufferStream::stamped(const Unit& unit, uint32_t len, uint32_t frameType,
                                                    int64_t dtsMs, int64_t ptsMs) {
  const UnitTime time = isBFrames != 0 ? reorderedTime(dtsMs, ptsMs) : UnitTime{pendingTimecode, 0};
  VideoFrameEncoded frame(unit.bytes, len, time.timecode, time.offset, frameType, unit.handle == nullptr);
  frame.setNBuffer(unit.handle);
  return frame;
}

VideoEncoderBufferStream::UnitTime VideoEncoderBufferStream::reorderedTime(int64_t dtsMs, int64_t ptsMs) {
  if (frameTimeShift < 0) {
    frameTimeShift = 0;
    if (dtsMs < 0 && maintainOriginalPts != 0) useMCTimecodes = 0;
    if (dtsMs < 0 && maintainOriginalPts == 0) frameTimeShift = -dtsMs;
  }
  if (useMCTimecodes != 0) {
    return {pendingTimecodeDTS, (ptsMs + frameTimeShift) - (dtsMs + frameTimeShift)};
  }
  const auto diff = static_cast<int64_t>(pendingTimecode - pendingTimecodeDTS);
  if (diff > 0) return {pendingTimecodeDTS - static_cast<uint64_t>(diff / 2), diff + diff / 2};
  return {pendingTimecodeDTS + static_cast<uint64_t>(diff), 0};
}

}  // namespace qvs
