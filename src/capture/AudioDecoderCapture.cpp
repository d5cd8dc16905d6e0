// Sound from a capture device.
#include "capture/AudioDecoderCapture.h"

#include <cstdio>
#include <cstring>

#include "contract/DecodeFlags.h"
#include "platform/Status.h"

namespace qvs {

namespace {
constexpr uint32_t kBlockTaken = DecodeFlagInputDone | DecodeFlagPictureDone | DecodeFlagFrameAvailable;
}

uint32_t AudioDecoderCapture::setCaptureDevice(int32_t deviceId) {
  sink.close();
  return AudioDecoderBase::setCaptureDevice(deviceId);
}

uint32_t AudioDecoderCapture::decodeFirstFrame(uint8_t*, uint32_t, uint32_t) {
  firstFrameDecoded = 1;
  return kSuccess;
}

uint32_t AudioDecoderCapture::close() {
  sink.close();
  return kSuccess;
}

uint32_t AudioDecoderCapture::captureFrame(AudioSampleBuffer& out, uint32_t* flags, int64_t* timecode) {
  *flags = 0;
  *timecode = 0;
  const CaptureFrame* frame = sink.take(captureDeviceId, getLogger(), kLogContextAudioDecoder);
  if (frame == nullptr) return kSuccess;
  const AudioSampleBuffer& sound = *frame->getAudioSampleBuffer();
  if (sound.getSampleCount() != 0) copyBlock(sound, out, flags, timecode);
  sink.release();
  return kSuccess;
}

void AudioDecoderCapture::copyBlock(const AudioSampleBuffer& sound, AudioSampleBuffer& out, uint32_t* flags,
                                    int64_t* timecode) {
  const uint32_t rate = sound.getSampleRate() != 0 ? sound.getSampleRate() : 48000;
  const uint32_t channels = sound.getChannels() != 0 ? sound.getChannels() : 2;
  const uint32_t samples = sound.getSampleCount();
  const uint64_t size = uint64_t{channels} * samples * 2;
  const bool fits = sound.getBuffer() != nullptr && out.getBuffer() != nullptr && sound.getLen() >= size;
  if (!fits || out.getLen() < size) {
    std::printf("AudioDecoderCapture::captureFrame: Buffer problem: src:%u dst:%u size:%d:%d\n",
                sound.getBuffer() != nullptr, out.getBuffer() != nullptr, static_cast<int>(size),
                static_cast<int>(out.getLen()));
    return;
  }
  *flags = kBlockTaken;
  *timecode =
      static_cast<int64_t>(sound.getTimecode() / rate * 1000 + sound.getTimecode() % rate * 1000 / rate);
  std::memcpy(out.getBuffer(), sound.getBuffer(), size);
  decodedSampleRate = rate;
  decodedChannels = channels;
  decodedSampleCount = samples;
  decodedSampleSize = static_cast<uint32_t>(size);
  decodedTimecode = sound.getTimecode();
  out.setSampleRate(rate);
  out.setChannels(channels);
  out.setSampleCount(samples);
  out.setTimecode(sound.getTimecode());
  ++frameCount;
}

}  // namespace qvs
