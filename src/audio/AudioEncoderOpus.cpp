// Opus out by libopus: header, 20 ms frames, timecodes of first samples, parameters.
#include "audio/AudioEncoderOpus.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "audio/EncodedAudio.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr const char* kInitialize = "AudioEncoderOpus.initialize[{context}]: ";
constexpr uint32_t kRates[] = {8000, 12000, 16000, 24000, 48000};
constexpr uint32_t kHeaderRate = 48000;      ///< of the header's sample counts, whatever the encoder's rate
constexpr uint32_t kPacketBytesMost = 3828;  ///< three frames of 1276 bytes

/// Writes `bytes` bytes of `value`, the lowest first.
uint8_t* putLittleEndian(uint8_t* at, uint32_t value, uint32_t bytes) {
  for (; bytes > 0; --bytes, value >>= 8) *at++ = static_cast<uint8_t>(value);
  return at;
}

/// Output gain of the header: 1/256 dB in 16 bits.
uint32_t gainField(double decibels) {
  const double scaled = std::isnan(decibels) ? 0.0 : decibels * 256.0;
  return static_cast<uint16_t>(static_cast<int16_t>(std::clamp(scaled, -32768.0, 32767.0)));
}

}  // namespace

AudioEncoderOpus::~AudioEncoderOpus() {
  close();
}

uint32_t AudioEncoderOpus::initialize() {
  const uint32_t result = guarded("AudioEncoderOpus::initialize", [&]() -> uint32_t {
    closeEncoder();
    if (std::find(std::begin(kRates), std::end(kRates), sampleRate) == std::end(kRates)) {
      error(fmt::format("{}Sample rate is not supported [8KHz, 12KHz, 16KHz, 24KHz, 48KHz]: {}", kInitialize,
                        sampleRate));
      return kSuccess;
    }
    if (gain != 0.0) info(fmt::format("{}Audio gain is set to: {} dB", kInitialize, gain));
    openEncoder();
    if (!encoder) return kSuccess;
    assembler.open(static_cast<uint32_t>(sampleRate * sampleDuration / 1000), channels, sampleRate);
    bufferFrame = std::make_unique<uint8_t[]>(kPacketBytesMost);
    return addHeader() ? kSuccess : kFailure;
  });
  if (result != kSuccess) closeEncoder();
  return result;
}

void AudioEncoderOpus::openEncoder() {
  int err = OPUS_OK;
  encoder.reset(opus_encoder_create(static_cast<opus_int32>(sampleRate), static_cast<int>(channels),
                                    OPUS_APPLICATION_AUDIO, &err));
  if (!encoder) {
    error(fmt::format("{}Encoder create failed: err:{}", kInitialize, err));
    return;
  }
  err = opus_encoder_ctl(encoder.get(), OPUS_SET_BITRATE(static_cast<opus_int32>(bitrate)));
  if (err != OPUS_OK) {
    error(fmt::format("{}Encoder ctl failed: err:{}", kInitialize, err));
    encoder.reset();
    return;
  }
  opus_int32 lookahead = 0;
  opus_encoder_ctl(encoder.get(), OPUS_GET_LOOKAHEAD(&lookahead));
  preSkip = static_cast<uint32_t>(lookahead) * (kHeaderRate / sampleRate);
}

bool AudioEncoderOpus::addHeader() {
  constexpr size_t kHeaderBytes = 19;
  std::array<uint8_t, kHeaderBytes> header{};
  std::memcpy(header.data(), "OpusHead", 8);
  uint8_t* at = header.data() + 8;
  at = putLittleEndian(at, 1, 1);  // version
  at = putLittleEndian(at, channels, 1);
  at = putLittleEndian(at, preSkipInHeader ? preSkip : 0, 2);
  at = putLittleEndian(at, sampleRate, 4);
  at = putLittleEndian(at, gainField(gain), 2);
  putLittleEndian(at, 0, 1);  // mapping family: mono or stereo
  return EncodedAudio::append(headers, {0, channels, sampleRate}, header);
}

uint32_t AudioEncoderOpus::getHeaders(std::vector<AudioFrameEncoded>& out) {
  return guarded("AudioEncoderOpus::getHeaders", [&]() -> uint32_t {
    out.insert(out.end(), headers.begin(), headers.end());
    return kSuccess;
  });
}

uint32_t AudioEncoderOpus::addSampleBuffer(AudioSampleBuffer* buffer, std::vector<AudioFrameEncoded>& out) {
  std::unique_ptr<AudioSampleBuffer> block(buffer);
  return guarded("AudioEncoderOpus::addSampleBuffer", [&]() -> uint32_t {
    if (!encoder || !assembler.isOpen() || !bufferFrame) return kSuccess;
    if (!block || countSamples(*block) == 0) return kSuccess;
    if (!fits("AudioEncoderOpus.addSampleBuffer", *block, assembler.getChannels(),
              assembler.getSampleRate())) {
      return kFailure;
    }
    assembler.add(std::move(block));
    AudioFrameAssembler::Frame frame;
    while (assembler.next(frame)) encode(frame, out);
    return kSuccess;
  });
}

void AudioEncoderOpus::encode(const AudioFrameAssembler::Frame& frame, std::vector<AudioFrameEncoded>& out) {
  const opus_int32 size =
      opus_encode(encoder.get(), reinterpret_cast<const opus_int16*>(frame.samples),
                  static_cast<int>(assembler.getFrameSamples()), bufferFrame.get(), kPacketBytesMost);
  if (size <= 0) return;
  const EncodedAudio::Stamp stamp{frame.timecode, assembler.getChannels(), assembler.getSampleRate()};
  EncodedAudio::append(out, stamp, {bufferFrame.get(), static_cast<size_t>(size)});
}

uint32_t AudioEncoderOpus::close() {
  return guarded("AudioEncoderOpus::close", [&]() -> uint32_t {
    closeEncoder();
    return kSuccess;
  });
}

void AudioEncoderOpus::closeEncoder() {
  encoder.reset();
  assembler.close();
  bufferFrame.reset();
  EncodedAudio::release(headers);
  preSkip = 0;
}

const ParameterRow<AudioEncoderOpus>* AudioEncoderOpus::parameterOf(uint32_t key) {
  using This = AudioEncoderOpus;
  static constexpr ParameterRow<This> kParameters[] = {
      parameterField<This, &This::gain>(kKeyGain),
      // Asked for by a flag, answered with the samples.
      {kKeyPreSkip, kParameterLong, 0, [](const This& encoder, uint32_t) { return int64_t{encoder.preSkip}; },
       [](This& encoder, uint32_t, std::span<const int64_t> values) {
         encoder.preSkipInHeader = values[0] != 0;
       }},
  };
  return findParameter(kParameters, key);
}

}  // namespace qvs
