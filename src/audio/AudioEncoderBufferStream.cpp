// The stream record behind the AAC encoder: gathers coded frames and pairs them with timecodes.
#include "audio/AudioEncoderBufferStream.h"

#include <span>

#include "audio/EncodedAudio.h"
#include "platform/ConcurrentLockFactory.h"
#include "platform/Guard.h"

namespace qvs {

AudioEncoderBufferStream::AudioEncoderBufferStream()
    : lock(ConcurrentLockFactory::newConcurrentLock()), sink(this, auxInfo) {
  setBufferSize(kDefaultBufferSize);
}

AudioEncoderBufferStream::~AudioEncoderBufferStream() {
  close();
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
  sink.discard();
}

uint32_t AudioEncoderBufferStream::auxInfo(bufstream_tt* stream, uint32_t, uint32_t code, void*, uint32_t) {
  if (code == AUDIO_AU_CODE) CodedUnitSink::ownerOf<AudioEncoderBufferStream>(stream).closeFrame();
  return 0;
}

void AudioEncoderBufferStream::closeFrame() {
  const std::span<const uint8_t> frame = sink.take();
  if (frame.empty()) return;
  guarded("AudioEncoderBufferStream::closeFrame", [&] {
    ScopedLock guard(*lock);
    // A frame lost for want of memory takes its timecode along: those behind it keep theirs.
    const EncodedAudio::Stamp stamp{takeTimecode(), pendingChannels, pendingSampleRate};
    EncodedAudio::append(frames, stamp, frame);
  });
}

uint64_t AudioEncoderBufferStream::takeTimecode() {
  if (pendingTimecodes.empty()) return 0;
  const uint64_t timecode = pendingTimecodes.front();
  pendingTimecodes.pop();
  return timecode;
}

}  // namespace qvs
