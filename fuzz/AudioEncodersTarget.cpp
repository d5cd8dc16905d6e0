// Settings of every key and value into an audio encoder of a session, then blocks of sound that keep to them
// or don't, with settings, a new initialisation or a close between them.

#include <cmath>
#include <cstdlib>

#include "contract/StageIds.h"
#include "frames/AudioSampleBuffer.h"
#include "FuzzInput.h"
#include "session/TranscoderSession.h"

namespace {

using namespace qvs;
using fuzz::FuzzInput;

constexpr uint32_t kRates[] = {8000, 16000, 24000, 44100, 48000, 96000, 7350, 0, 1};
constexpr uint8_t kAsEncoder = 255;

uint32_t takeRate(FuzzInput& input, uint32_t encoderRate) {
  const auto which = input.take<uint8_t>();
  if (which == kAsEncoder) return encoderRate;
  return which < 200 ? kRates[which % std::size(kRates)] : input.take<uint32_t>();
}

/// A count that an encoder may serve, or any.
uint32_t takeChannels(FuzzInput& input, uint32_t encoderChannels) {
  const auto which = input.take<uint8_t>();
  if (which == kAsEncoder) return encoderChannels;
  return which < 240 ? which % 10 : input.take<uint32_t>();
}

void setAndGet(IAudioEncoder& encoder, FuzzInput& input) {
  const auto which = input.take<uint8_t>();
  static constexpr uint32_t kOtherKeys[] = {190000, 190001, 190100, 39999, 40018};
  const uint32_t key = which < 18    ? 40000u + which
                       : which < 200 ? kOtherKeys[(which - 18u) % std::size(kOtherKeys)]
                                     : input.take<uint32_t>();
  input.take<uint8_t>();
  auto integer = input.take<int64_t>();
  auto real = input.take<double>();
  encoder.setParameterValue(key, integer);
  encoder.setParameterValue(key, real);
  encoder.setParameterValue(key, &integer, 1);
  encoder.setParameterValue(key, &real, 1);
  uint32_t length = 1;
  encoder.getParameterValueType(key, &length);
  encoder.getParameterValue(key, &integer);
  encoder.getParameterValue(key, &real);
}

void release(std::vector<AudioFrameEncoded>& frames) {
  for (const AudioFrameEncoded& frame : frames) std::free(frame.getBuffer());
  frames.clear();
}

void addBlock(IAudioEncoder& encoder, FuzzInput& input) {
  auto block = std::make_unique<AudioSampleBuffer>();
  const uint32_t channels = takeChannels(input, encoder.getChannels());
  const uint32_t rate = takeRate(input, encoder.getSampleRate());
  const uint32_t samples = input.take<uint16_t>() % 5000;
  block->allocBuffer(channels < 16 ? samples : samples % 3, channels < 300 ? channels : 1, rate);
  block->setChannels(channels);
  for (uint32_t i = 0; i < block->getLen(); ++i) block->getBuffer()[i] = static_cast<uint8_t>(i * i >> 3);
  if (const auto told = input.take<uint8_t>()) block->setSampleCount(samples * told);
  block->setSampleIndex(input.take<uint32_t>());
  block->setTimecode(input.take<uint64_t>());
  std::vector<AudioFrameEncoded> frames;
  encoder.addSampleBuffer(block.release(), frames);
  release(frames);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr uint32_t kCodecs[] = {kAudioCodecAAC, kAudioCodecVorbis, kAudioCodecOpus};
  FuzzInput input(data, size);
  TranscoderSession session;
  int32_t index = -1;
  session.audioEncoderAdd(kCodecs[input.take<uint8_t>() % std::size(kCodecs)], 0, &index);
  IAudioEncoder& encoder = *session.getAudioEncoder(static_cast<uint32_t>(index));
  encoder.setSampleRate(takeRate(input, 44100));
  encoder.setChannels(takeChannels(input, 2));
  encoder.setBitrate(input.take<uint32_t>());
  for (uint32_t count = input.take<uint8_t>() % 8; count > 0; --count) setAndGet(encoder, input);
  encoder.initialize();
  std::vector<AudioFrameEncoded> headers;
  for (uint32_t count = 1 + input.take<uint8_t>() % 8; count > 0; --count) {
    switch (input.take<uint8_t>() % 5) {
      case 1:
        setAndGet(encoder, input);
        break;
      case 2:
        encoder.close();
        break;
      case 3:
        encoder.initialize();
        break;
      case 4:
        headers.clear();
        encoder.getHeaders(headers);
        break;
      default:
        addBlock(encoder, input);
    }
  }
  return 0;
}
