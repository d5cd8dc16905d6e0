// A stream of samples from one rate and layout to another, or handed on as it is.
#include "audio/AudioConverter.h"

#include <algorithm>
#include <limits>
#include <new>

namespace qvs::mc {

namespace {

constexpr uint32_t kRateMin = 1000;
constexpr uint32_t kRateMax = 768000;
constexpr uint32_t kRatioMax = 64;
// Bounds the engine's buffers, which grow with what one call may put out.
constexpr uint32_t kFramesPerPass = 4096;
constexpr uint64_t kAll = std::numeric_limits<uint64_t>::max();

constexpr uint32_t kSilenceFrames = 256;
constexpr uint8_t kSilence[kSilenceFrames * 16 * 2] = {};

AudioFormat inputOf(const converter_settings& settings) {
  return {settings.input_samplerate, settings.input_channels,
          layoutOf(settings.input_channels, settings.input_channel_mask)};
}

AudioFormat outputOf(const converter_settings& settings) {
  return {settings.output_samplerate, settings.output_channels,
          layoutOf(settings.output_channels, settings.output_channel_mask)};
}

bool ratesAreServed(uint32_t one, uint32_t other) {
  const auto [low, high] = std::minmax(one, other);
  return low >= kRateMin && high <= kRateMax && high / low <= kRatioMax;
}

bool layoutsAreServed(const converter_settings& settings) {
  const SpeakerLayout from = inputOf(settings).layout;
  const SpeakerLayout to = outputOf(settings).layout;
  const bool same = settings.input_channels == settings.output_channels &&
                    settings.input_channel_mask == settings.output_channel_mask;
  return from.mask != 0 && to.mask != 0 && (same || (from.mixable && to.mixable));
}

}  // namespace

uint32_t AudioConverter::check(const converter_settings& settings) {
  if (settings.input_channels == 0 || settings.output_channels == 0) return AUDIO_CONVERTER_BAD_CHANNELS;
  if (settings.input_bits_per_sample != 16 || settings.output_bits_per_sample != 16 ||
      settings.input_format != DATA_PCM ||
      (settings.output_format != 0 && settings.output_format != DATA_PCM)) {
    return AUDIO_CONVERTER_BAD_FORMAT;
  }
  if (!ratesAreServed(settings.input_samplerate, settings.output_samplerate)) return AUDIO_CONVERTER_BAD_RATE;
  if (!layoutsAreServed(settings)) return AUDIO_CONVERTER_BAD_MASK;
  if (settings.user_matrix != 0 || settings.use_custom_in_table != 0 || settings.use_custom_out_table != 0 ||
      settings.separate_input_channels_mode != 0 || settings.separate_output_channels_mode != 0) {
    return AUDIO_CONVERTER_BAD_MODE;
  }
  return 0;
}

std::unique_ptr<AudioConverter> AudioConverter::make(const converter_settings& settings) {
  std::unique_ptr<AudioConverter> converter(new (std::nothrow)
                                                AudioConverter(inputOf(settings), outputOf(settings)));
  if (converter && !converter->openEngine()) converter.reset();
  return converter;
}

bool AudioConverter::openEngine() {
  if (from.rate == to.rate && from.layout.mask == to.layout.mask) return true;
  engine = SwrEngine::open(from, to);
  return engine != nullptr;
}

uint32_t AudioConverter::init(bufstream_tt* target) {
  if (target == nullptr) return AUDIO_CONVERTER_BAD_ARGUMENT;
  stream = target;
  return 0;
}

uint32_t AudioConverter::put(const uint8_t* data, uint32_t size) {
  const uint32_t frameIn = from.channels * 2;
  if (stream == nullptr || (data == nullptr && size != 0) || size % frameIn != 0) {
    return AUDIO_CONVERTER_BAD_ARGUMENT;
  }
  uint32_t frames = size / frameIn;
  if (!engine) {
    handOn(data, frames);
    return 0;
  }
  if (spent) {
    if (!engine->restart()) return AUDIO_CONVERTER_NO_MEMORY;
    spent = false;
    framesIn = framesOut = 0;
  }
  const auto slice = static_cast<uint32_t>(
      std::max<uint64_t>(1, uint64_t{kFramesPerPass} * std::min(from.rate, to.rate) / to.rate));
  framesIn += frames;
  while (frames > 0) {
    const uint32_t now = std::min(frames, slice);
    framesOut += pass(data, now, kAll);
    data += size_t{now} * frameIn;
    frames -= now;
  }
  return 0;
}

void AudioConverter::handOn(const uint8_t* data, uint32_t frames) {
  // The stream may take it only whole; its interface isn't const.
  stream->copybytes(stream, const_cast<uint8_t*>(data), frames * frameBytes());
}

void AudioConverter::drain() {
  if (!engine || stream == nullptr || spent) return;
  spent = true;
  // The nearest count; where two are as near, the engine stops at the lower.
  const uint64_t total = (2 * framesIn * to.rate + from.rate - 1) / (2 * uint64_t{from.rate});
  // The engine mirrors the last samples behind the end, but loses all of a stream shorter than its filter:
  // silence behind such a one brings it out.
  const uint64_t filterFrames = 2 * 64 * uint64_t{1 + from.rate / to.rate};
  const bool shorter = framesIn < 2 * filterFrames;
  uint64_t emptyPasses = shorter ? 4 + 2 * filterFrames / kSilenceFrames : 0;  // then the engine has failed
  while (framesOut < total) {
    const uint32_t made = pass(shorter ? kSilence : nullptr, shorter ? kSilenceFrames : 0, total - framesOut);
    framesOut += made;
    if (made == 0 && emptyPasses-- == 0) break;
  }
}

void AudioConverter::discard() {
  spent = true;
}

uint32_t AudioConverter::pass(const uint8_t* data, uint32_t frames, uint64_t wanted) {
  const uint32_t capacity = engine->mostOut(frames);
  const uint32_t room = capacity * frameBytes();
  const bool direct = stream->chunksize(stream) >= room;
  uint8_t* out = direct ? stream->request(stream, room) : scratchFor(room);
  if (out == nullptr) return 0;
  const auto made =
      static_cast<uint32_t>(std::min<uint64_t>(wanted, engine->convert(data, frames, out, capacity)));
  if (made == 0) return 0;
  if (direct) {
    stream->confirm(stream, made * frameBytes());
  } else {
    stream->copybytes(stream, out, made * frameBytes());
  }
  return made;
}

uint8_t* AudioConverter::scratchFor(uint32_t bytes) {
  if (scratchBytes < bytes) {
    scratch.reset(static_cast<uint8_t*>(std::malloc(bytes)));
    scratchBytes = scratch ? bytes : 0;
  }
  return scratch.get();
}

}  // namespace qvs::mc
