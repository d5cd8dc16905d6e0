// Conversion of rate and layout with the output's clock tied to the input's, gaps and changes included.
#include "audio/AudioResampler.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "bufstream/MainConceptCallbacks.h"
#include "frames/AudioSampleBuffer.h"
#include "log/ILogger.h"
#include "platform/Status.h"

namespace qvs {

namespace {

constexpr uint32_t kBufferBytes = 65536;
constexpr uint64_t kNoTimecode = ~uint64_t{0};
constexpr uint64_t kBlocksBetweenLines = 199;
constexpr uint64_t kLargestOutput = 16u << 20;  // bytes; no real block comes near
constexpr uint32_t kChannelsMax = 255;  // the settings' field has 8 bits; more than the converter serves

constexpr uint32_t kStereo = CHANNEL_FLAG_L | CHANNEL_FLAG_R;
constexpr uint32_t kSurround = kStereo | CHANNEL_FLAG_C | CHANNEL_FLAG_Ls | CHANNEL_FLAG_Rs;
// By channel count. 7 and more are as one channel: the centre.
constexpr uint32_t kDefaultMasks[] = {
    CHANNEL_FLAG_C,
    CHANNEL_FLAG_C,
    kStereo,
    kStereo | CHANNEL_FLAG_C,
    kStereo | CHANNEL_FLAG_C | CHANNEL_FLAG_LFE,
    kSurround,
    kSurround | CHANNEL_FLAG_LFE,
};

uint32_t maskOf(uint32_t mask, uint32_t channels) {
  if (mask != 0) return mask;
  return channels < std::size(kDefaultMasks) ? kDefaultMasks[channels] : uint32_t{CHANNEL_FLAG_C};
}

/// Samples per channel that the block really has memory for.
uint32_t samplesIn(const AudioSampleBuffer& block) {
  const uint64_t frame = uint64_t{block.getChannels()} * 2;
  if (frame == 0) return block.getSampleCount();
  if (block.getBuffer() == nullptr) return 0;
  return static_cast<uint32_t>(std::min<uint64_t>(block.getSampleCount(), block.getLen() / frame));
}

}  // namespace

AudioResampler::AudioResampler() : buffSize(kBufferBytes) {
  init_callbacks(callbacks);
}

AudioResampler::~AudioResampler() {
  close();
}

uint32_t AudioResampler::resample(AudioSampleBuffer& in, AudioSampleBuffer& out) {
  const uint32_t samples = samplesIn(in);
  const uint32_t sampleRate = in.getSampleRate();
  const uint32_t channels = in.getChannels();
  const uint64_t timecode = in.getTimecode();
  Rest rest;
  bool collect = false;
  if (samples != 0) {
    if (startsAnew(sampleRate, channels, timecode)) rest = rebuild(sampleRate, channels, timecode);
    // The clock of a block that is refused stands still: the one behind it starts anew.
    const bool taken = aconv == nullptr || makeRoom(samples);
    if (taken) timecodeSrcNext += samples;
    if (aconv == nullptr || !taken) warnDropped(taken ? "no converter" : "its output is too large", samples);
    collect = taken && convert(in, samples, channels) && ptr != 0;
  }
  // Nothing is written to `out` before here: it may be the block that was converted.
  uint32_t moved = 0;
  if (rest.size != 0) {
    moved = moveSamples(rest.bytes.get(), rest.size, rest.timecode, out, 0);
  } else if (collect) {
    moved = addSamplesToBuffer(out);
    ptr = 0;
  }
  if (moved == 0) out.setSampleCount(0);
  return 0;
}

bool AudioResampler::startsAnew(uint32_t sampleRate, uint32_t channels, uint64_t timecode) const {
  return aconv == nullptr || sampleRate != sampleRateSrc || channels != channelsSrc ||
         (timecodeSrcNext != kNoTimecode && timecode != timecodeSrcNext);
}

AudioResampler::Rest AudioResampler::rebuild(uint32_t sampleRate, uint32_t channels, uint64_t timecode) {
  Rest rest;
  if (aconv != nullptr) {
    flush();
    rest = {std::move(buffer), ptr, timecodeDstNext};
    close();
  }
  setup(sampleRate, channels);
  timecodeSrcNext = timecode;
  timecodeSrcStart = timecode;
  // The one place where the output clock is tied to the input's.
  timecodeDstNext = sampleRate != 0 ? sampleRateDst * timecode / sampleRate : 0;
  return rest;
}

bool AudioResampler::convert(const AudioSampleBuffer& in, uint32_t samples, uint32_t channels) {
  if (aconv == nullptr) return false;
  const uint32_t bytes = bitsPerChannel / 8 * samples * channels;
  const bool taken = audioConverterPutBytes(aconv, in.getBuffer(), bytes, 0, nullptr) == 0;
  logFailure = 1;
  ++frameCount;
  return taken;
}

// A block of many samples, or one of a far lower rate, may put out more than `buffer` holds: it grows for
// that and stays so until the next set-up.
bool AudioResampler::makeRoom(uint64_t samples) {
  constexpr uint64_t kFilterSamples = 160;  // more than the filter holds back, at the lower of the two rates
  const uint64_t from = settings.input_samplerate;
  const uint64_t to = settings.output_samplerate;
  const uint64_t most = (samples + kFilterSamples * (1 + from / to)) * to / from + 1;
  const uint64_t wanted = ptr + most * settings.output_channels * (bitsPerChannel / 8);
  if (wanted <= buffSize) return true;
  void* grown = wanted <= kLargestOutput ? std::realloc(buffer.get(), wanted) : nullptr;
  if (grown == nullptr) return false;
  static_cast<void>(buffer.release());
  buffer.reset(static_cast<uint8_t*>(grown));
  buffSize = static_cast<uint32_t>(wanted);
  return true;
}

/// A line for a block that is lost, unless a set-up or this has had one a short while ago.
void AudioResampler::warnDropped(const char* reason, uint32_t samples) {
  const bool due = frameCountDrop == kNoTimecode || frameCount - frameCountDrop > kBlocksBetweenLines;
  if (!due || logger == nullptr) return;
  frameCountDrop = frameCount;
  logger->warn(static_cast<int>(logContext), static_cast<int>(sessionIndex),
               fmt::format("AudioResampler.resample[{{context}}]: Block dropped, {}: "
                           "source[rate/channels/samples]: {}/{}/{} destination[rate/channels]: {}/{}",
                           reason, sampleRateSrc, channelsSrc, samples, sampleRateDst, channelsDst));
}

uint32_t AudioResampler::setup(uint32_t sampleRate, uint32_t channels) {
  sampleRateSrc = sampleRate;
  channelsSrc = channels;
  fillStream();
  buffSize = kBufferBytes;
  buffer.reset(static_cast<uint8_t*>(std::malloc(buffSize)));
  ptr = 0;
  fillSettings();

  const bool logging = linesAreDue();
  if (logging) logFormats();
  if (buffer) makeConverter(logging);
  logFailure = 0;
  return 0;
}

bool AudioResampler::linesAreDue() {
  const bool due = frameCount == 0 || frameCount - frameCountLog > kBlocksBetweenLines;
  if (due) frameCountLog = frameCount;
  return due && logFailure != 0 && logger != nullptr;
}

void AudioResampler::fillStream() {
  static constexpr auto of = [](bufstream_tt* from) -> AudioResampler& {
    return *static_cast<AudioResampler*>(from->Buf_IO_struct);
  };
  stream = {};
  stream.usable_bytes = [](bufstream_tt* from) { return of(from).buffSize - of(from).ptr; };
  stream.chunksize = stream.usable_bytes;
  stream.request = [](bufstream_tt* from, uint32_t) {
    AudioResampler& owner = of(from);
    return owner.ptr < owner.buffSize ? owner.buffer.get() + owner.ptr : nullptr;
  };
  stream.confirm = [](bufstream_tt* from, uint32_t size) {
    of(from).ptr += size;
    return size;
  };
  stream.copybytes = [](bufstream_tt* from, uint8_t* data, uint32_t size) -> uint32_t {
    AudioResampler& owner = of(from);
    if (size > owner.buffSize - owner.ptr) return 0;
    std::memcpy(owner.buffer.get() + owner.ptr, data, size);
    owner.ptr += size;
    return size;
  };
  stream.auxinfo = [](bufstream_tt*, uint32_t, uint32_t, void*, uint32_t) -> uint32_t { return 0; };
  stream.done = [](bufstream_tt*, int32_t) {};
  stream.Buf_IO_struct = this;
}

void AudioResampler::fillSettings() {
  settings = {};
  settings.input_bits_per_sample = static_cast<uint8_t>(bitsPerChannel);
  settings.input_channels = static_cast<uint8_t>(std::min(channelsSrc, kChannelsMax));
  settings.input_samplerate = sampleRateSrc;
  settings.input_format = DATA_PCM;
  settings.input_channel_mask = maskOf(channelMaskSrc, channelsSrc);
  settings.output_bits_per_sample = static_cast<uint8_t>(bitsPerChannel);
  settings.output_channels = static_cast<uint8_t>(std::min(channelsDst, kChannelsMax));
  settings.output_samplerate = sampleRateDst;
  settings.output_channel_mask = maskOf(channelMaskDst, channelsDst);
  settings.out_frame_size = buffSize;
}

void AudioResampler::logFormats() const {
  // The source's mask is deliberately not shown: both places carry the target's.
  const uint32_t mask = settings.output_channel_mask;
  logger->info(static_cast<int>(logContext), static_cast<int>(sessionIndex),
               fmt::format("AudioResampler.setup[{{context}}]: source[rate/channels/mask]: {}/{}/0x{:x} "
                           "destination[rate/channels/mask]: {}/{}/0x{:x}",
                           sampleRateSrc, channelsSrc, mask, sampleRateDst, channelsDst, mask));
}

void AudioResampler::makeConverter(bool logging) {
  const auto warn = [&](const std::string& text) {
    if (!logging) return;
    frameCountDrop = frameCount;
    logger->warn(static_cast<int>(logContext), static_cast<int>(sessionIndex),
                 "AudioResampler.setup[{context}]: " + text);
  };
  if (const uint32_t code = audioConverterCheckSettings(&callbacks, &settings, 0, nullptr)) {
    return warn(fmt::format("audioConverterCheckSettings failed: {}", code));
  }
  aconv = audioConverterNew(&callbacks, &settings);
  if (aconv == nullptr) return warn("audioConverterNew failed");
  if (const uint32_t code = audioConverterInit(aconv, &stream)) {
    warn(fmt::format("audioConverterInit failed: {}", code));
    close();
  }
}

uint32_t AudioResampler::close() {
  if (aconv != nullptr) {
    audioConverterDone(aconv, 1);
    audioConverterFree(aconv);
    aconv = nullptr;
  }
  buffer.reset();
  ptr = 0;
  sampleRateSrc = 0;
  channelsSrc = 0;
  return 0;
}

uint32_t AudioResampler::flush() {
  if (aconv == nullptr) return 0;
  makeRoom(0);
  audioConverterDone(aconv, 0);
  return 0;
}

uint32_t AudioResampler::flush(AudioSampleBuffer& target) {
  flush();
  appendSamplesToBuffer(target);
  ptr = 0;
  return 0;
}

uint32_t AudioResampler::addSamplesToBuffer(AudioSampleBuffer& target) {
  return moveSamples(buffer.get(), ptr, timecodeDstNext, target, 0);
}

uint32_t AudioResampler::appendSamplesToBuffer(AudioSampleBuffer& target) {
  return moveSamples(buffer.get(), ptr, timecodeDstNext, target, target.getSampleCount());
}

uint32_t AudioResampler::moveSamples(const uint8_t* bytes, uint32_t size, uint64_t& timecode,
                                     AudioSampleBuffer& target, uint32_t existing) const {
  const uint32_t frame = channelsDst * (bitsPerChannel / 8);
  const uint32_t samples = frame != 0 ? size / frame : 0;
  if (samples == 0) return 0;
  const uint64_t start = timecode;
  timecode += samples;
  const uint64_t total = uint64_t{existing} + samples;
  const bool fits = target.getBuffer() != nullptr && target.getLen() >= total * frame;
  if (!fits && (total > std::numeric_limits<uint32_t>::max() ||
                target.allocBuffer(static_cast<uint32_t>(total), channelsDst, sampleRateDst) != kSuccess)) {
    target.setSampleCount(0);
    return 0;
  }
  target.setSampleRate(sampleRateDst);
  target.setChannels(channelsDst);
  target.setSampleCount(static_cast<uint32_t>(total));
  if (existing == 0) target.setTimecode(start);
  std::memcpy(target.getBuffer() + size_t{existing} * frame, bytes, size_t{samples} * frame);
  return samples;
}

}  // namespace qvs
