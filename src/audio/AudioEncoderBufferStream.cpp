#include "audio/AudioEncoderBufferStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "audio/EncodedAudio.h"
#include "platform/ConcurrentLockFactory.h"
#include "platform/Guard.h"

namespace qvs {

AudioEncoderBufferStream::AudioEncoderBufferStream() : lock(ConcurrentLockFactory::newConcurrentLock()) {
  setBufferSize(kDefaultBufferSize);
  stream.usable_bytes = usableBytes;
  stream.request = request;
  stream.confirm = confirm;
  stream.copybytes = copyBytes;
  stream.chunksize = chunkSize;
  stream.auxinfo = auxInfo;
  stream.done = done;
  stream.Buf_IO_struct = this;
}

AudioEncoderBufferStream::~AudioEncoderBufferStream() {
  close();
}

void AudioEncoderBufferStream::setBufferSize(uint32_t size) {
  ptr = 0;
  buffer.reset(static_cast<uint8_t*>(std::malloc(size)));
  buffSize = buffer ? size : 0;
}

void AudioEncoderBufferStream::addTimecode(uint64_t timecode) {
  ScopedLock guard(*lock);
  pendingTimecodes.push(timecode);
}

uint32_t AudioEncoderBufferStream::getEncodedFrames(std::vector<AudioFrameEncoded>& out) {
  return guarded("AudioEncoderBufferStream::getEncodedFrames", [&]() -> uint32_t {
    ScopedLock guard(*lock);
    out.insert(out.end(), frames.begin(), frames.end());
    frames.clear();
    return kSuccess;
  });
}

uint32_t AudioEncoderBufferStream::getEncodedFrameCount() {
  ScopedLock guard(*lock);
  return static_cast<uint32_t>(frames.size());
}

void AudioEncoderBufferStream::close() {
  ScopedLock guard(*lock);
  EncodedAudio::release(frames);
  pendingTimecodes.clear();
  ptr = 0;
}

AudioEncoderBufferStream& AudioEncoderBufferStream::of(bufstream_tt* stream) {
  return *static_cast<AudioEncoderBufferStream*>(stream->Buf_IO_struct);
}

uint32_t AudioEncoderBufferStream::usableBytes(bufstream_tt* stream) {
  return of(stream).ptr;
}

uint8_t* AudioEncoderBufferStream::request(bufstream_tt* stream, uint32_t) {
  AudioEncoderBufferStream& self = of(stream);
  return self.ptr >= self.buffSize ? nullptr : self.buffer.get() + self.ptr;
}

uint32_t AudioEncoderBufferStream::confirm(bufstream_tt* stream, uint32_t size) {
  AudioEncoderBufferStream& self = of(stream);
  // More than the room that `chunksize` told must not lead the next write or read outside the buffer.
  self.ptr += std::min(size, self.buffSize - self.ptr);
  return size;
}

uint32_t AudioEncoderBufferStream::copyBytes(bufstream_tt* stream, uint8_t* source, uint32_t size) {
  AudioEncoderBufferStream& self = of(stream);
  if (size > self.buffSize - self.ptr) return 0;
  if (size != 0) std::memcpy(self.buffer.get() + self.ptr, source, size);
  self.ptr += size;
  return size;
}

uint32_t AudioEncoderBufferStream::chunkSize(bufstream_tt* stream) {
  return of(stream).buffSize - of(stream).ptr;
}

uint32_t AudioEncoderBufferStream::auxInfo(bufstream_tt* stream, uint32_t, uint32_t code, void*, uint32_t) {
  if (code == AUDIO_AU_CODE) of(stream).closeFrame();
  return 0;
}

void AudioEncoderBufferStream::done(bufstream_tt*, int32_t) {}

void AudioEncoderBufferStream::closeFrame() {
  const uint32_t len = std::exchange(ptr, 0);
  if (len == 0) return;
  guarded("AudioEncoderBufferStream::closeFrame", [&] {
    ScopedLock guard(*lock);
    // A frame lost for want of memory takes its timecode along: those behind it keep theirs.
    const EncodedAudio::Stamp stamp{takeTimecode(), pendingChannels, pendingSampleRate};
    EncodedAudio::append(frames, stamp, {buffer.get(), len});
  });
}

uint64_t AudioEncoderBufferStream::takeTimecode() {
  if (pendingTimecodes.empty()) return 0;
  const uint64_t timecode = pendingTimecodes.front();
  pendingTimecodes.pop();
  return timecode;
}

}  // namespace qvs
