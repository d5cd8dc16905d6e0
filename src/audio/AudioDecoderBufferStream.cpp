// The driver of audio decoders behind a stream record: feed bytes, take blocks, ask for headers.
#include "audio/AudioDecoderBufferStream.h"

#include <fmt/format.h>
#include <mc_decoder_codes.h>

#include <algorithm>
#include <cstring>

#include "frames/AudioSampleBuffer.h"
#include "log/ILogger.h"
#include "platform/Status.h"

namespace qvs {

namespace {
constexpr uint32_t kBytesPerSample = 2;
}

const ParameterRow<AudioDecoderBufferStream>* AudioDecoderBufferStream::parameterOf(uint32_t key) {
  using This = AudioDecoderBufferStream;
  static constexpr ParameterRow<This> kParameters[] = {
      parameterField<This, &This::scaleChannels>(kKeyScaleChannels),
      parameterField<This, &This::scaleSampleRate>(kKeyScaleSampleRate),
  };
  return findParameter(kParameters, key);
}

uint32_t AudioDecoderBufferStream::close() {
  decoder.close();
  return kSuccess;
}

void AudioDecoderBufferStream::offerRoom(AudioSampleBuffer& out, uint32_t position) {
  const bool usable = out.getBuffer() != nullptr && position <= out.getLen();
  dst_bfr.bfr = usable ? out.getBuffer() + position : nullptr;
  dst_bfr.bfr_size = usable ? out.getLen() - position : 0;
}

uint32_t AudioDecoderBufferStream::feed(std::span<uint8_t> bytes, AudioSampleBuffer& out, uint32_t position) {
  offerRoom(out, position);
  const uint32_t taken = decoder.feed(bytes.data(), static_cast<uint32_t>(bytes.size()));
  parseState = decoder.send(GET_PARSE_STATE);
  const mc_aud_frame_hdr_t* header = (parseState & AUD_NO_ROOM_FLAG) != 0 ? frameHeader() : nullptr;
  if (header == nullptr) return taken;
  const uint64_t blockBytes = uint64_t{header->samples} * header->channels * kBytesPerSample;
  if (!grow(out, position, position + blockBytes, header->channels, header->sample_rate)) return taken;
  offerRoom(out, position);
  decoder.feed(nullptr, 0);
  parseState = decoder.send(GET_PARSE_STATE);
  return taken;
}

uint32_t AudioDecoderBufferStream::scaleBlock(const mc_aud_frame_hdr_t& header, AudioSampleBuffer& out,
                                              uint32_t position) {
  if (!wantsStereo() || header.channels != 1) return header.channels;
  const uint32_t end = position + dst_bfr.bfr_size;
  const uint64_t scaledEnd = uint64_t{end} + dst_bfr.bfr_size;
  if (scaledEnd > out.getLen() && !grow(out, end, scaledEnd, 2, header.sample_rate)) return 0;
  // From the end: no sample is overwritten before it has been read.
  auto* samples = reinterpret_cast<int16_t*>(out.getBuffer() + position);
  for (size_t i = dst_bfr.bfr_size / kBytesPerSample; i-- > 0;) {
    samples[2 * i] = samples[2 * i + 1] = samples[i];
  }
  dst_bfr.bfr_size *= 2;
  return 2;
}

bool AudioDecoderBufferStream::grow(AudioSampleBuffer& out, uint32_t kept, uint64_t bytes, uint32_t channels,
                                    uint32_t rate) {
  const uint64_t frameBytes = uint64_t{channels} * kBytesPerSample;
  const uint64_t samples = (bytes + frameBytes - 1) / frameBytes;
  if (samples > ~uint32_t{0}) return false;
  if (kept > 0) scaleBuffer.assign(out.getBuffer(), out.getBuffer() + kept);
  if (out.allocBuffer(static_cast<uint32_t>(samples), channels, rate) != kSuccess) {
    out.setLen(0);
    return false;
  }
  if (kept > 0) std::memcpy(out.getBuffer(), scaleBuffer.data(), kept);
  return true;
}

uint32_t AudioDecoderBufferStream::fail(const char* method, const char* text) const {
  warn(fmt::format("{}.{}[{{context}}]: {}", name, method, text));
  return kFailure;
}

uint32_t AudioDecoderBufferStream::fail(const char* method, const char* text, AudioSampleBuffer& out) const {
  markEmpty(out);
  return fail(method, text);
}

void AudioDecoderBufferStream::markEmpty(AudioSampleBuffer& out) {
  out.setSampleCount(0);
  out.setTimecode(0);
}

}  // namespace qvs
