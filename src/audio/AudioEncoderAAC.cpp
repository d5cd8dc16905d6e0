// AAC out: the parameter table, limits of rates, and the way of blocks through the codec library.
#include "audio/AudioEncoderAAC.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "audio/AACUtils.h"
#include "audio/BitrateLimits.h"
#include "bufstream/MainConceptCallbacks.h"
#include "contract/StageIds.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr const char* kInitialize = "AudioEncoderAAC.initialize[{context}]: ";
constexpr uint32_t kBytesPerSample = 2;
constexpr uint32_t kFrameSamples = 1024;
constexpr uint32_t kFrameSamplesHe = 2048;
constexpr uint32_t kBitsPerSampleMost = 6;  ///< of one channel, in the default limits
constexpr BitrateLimits kUnserved = {0, 0};

/// Bit rates, bit/s, by rate and coding.
struct RateRow {
  uint32_t sampleRate;
  BitrateLimits heParametricOrMono;  ///< HE v2, HE of one channel
  BitrateLimits heStereo;
  BitrateLimits lcMono;
  BitrateLimits lcStereo;
};

constexpr RateRow kRates[] = {
    {8000, kUnserved, kUnserved, {2000, 47000}, {3000, 95000}},
    {11025, kUnserved, kUnserved, {3000, 65000}, {4000, 130000}},
    {12000, kUnserved, kUnserved, {3000, 71000}, {4000, 142000}},
    {16000, {10000, 40000}, {16000, 56000}, {4000, 95000}, {6000, 190000}},
    {22050, {10000, 48000}, {16000, 64000}, {6000, 130000}, {8000, 261000}},
    {24000, {10000, 48000}, {16000, 64000}, {6000, 142000}, {8000, 285000}},
    {32000, {16000, 56000}, {24000, 80000}, {8000, 190000}, {11000, 380000}},
    {44100, {16000, 64000}, {32000, 96000}, {11000, 261000}, {15000, 523000}},
    {48000, {16000, 64000}, {32000, 96000}, {12000, 285000}, {16000, 570000}},
    {64000, kUnserved, kUnserved, {15000, 380000}, {21000, 760000}},
    {88200, kUnserved, kUnserved, {21000, 523000}, {29000, 1047000}},
    {96000, kUnserved, kUnserved, {23000, 570000}, {32000, 1140000}},
};

/// The row's column for a coding; null where the table has none.
const BitrateLimits* limitsOf(uint32_t sampleRate, uint32_t he, uint32_t channels) {
  const auto* row = std::find_if(std::begin(kRates), std::end(kRates), [&](const RateRow& candidate) {
    return candidate.sampleRate == sampleRate;
  });
  if (row == std::end(kRates)) return nullptr;
  const BitrateLimits* limits = nullptr;
  if (he != AAC_HE_OFF) {
    limits = he == AAC_HE_V1 && channels != 1 ? &row->heStereo : &row->heParametricOrMono;
  } else if (channels == 1 || channels == 2) {
    limits = channels == 1 ? &row->lcMono : &row->lcStereo;
  }
  return limits != nullptr && limits->maximum != 0 ? limits : nullptr;
}

}  // namespace

AudioEncoderAAC::AudioEncoderAAC() {
  codec = kAudioCodecAAC;
  init_callbacks(callbacks);
  aacOutAudioDefaults(&encodesettings, 0);
}

AudioEncoderAAC::~AudioEncoderAAC() {
  close();
}

uint32_t AudioEncoderAAC::initialize() {
  const uint32_t result = guarded("AudioEncoderAAC::initialize", [&]() -> uint32_t {
    closeEncoder();
    encodesettings.bits_per_sample = 16;
    encodesettings.input_channels = channels;
    checkSampleRate();
    limitBitrate();
    encodesettings.audio_bitrate_index = AACUtils::encoderBitrateToIndex(bitrate / 1000);
    info(fmt::format("{}channels:{} sampleRate:{} bitRate:{}", kInitialize, channels, sampleRate, bitrate));
    return openEncoder();
  });
  if (result != kSuccess) closeEncoder();
  return result;
}

void AudioEncoderAAC::checkSampleRate() const {
  const bool he = encodesettings.he != AAC_HE_OFF;
  const auto served = [&](const RateRow& row) {
    return row.sampleRate == sampleRate && (!he || row.heStereo.maximum != 0);
  };
  if (std::any_of(std::begin(kRates), std::end(kRates), served)) return;
  std::string supported;
  for (const RateRow& row : kRates) {
    if (he && row.heStereo.maximum == 0) continue;
    supported += fmt::format("{}{}", supported.empty() ? "" : ", ", row.sampleRate);
  }
  warn(fmt::format("{}Sample frequency is not supported by {} [supported: {}]: {}", kInitialize,
                   he ? "HE-AAC v2" : "LC-AAC", supported, sampleRate));
}

void AudioEncoderAAC::limitBitrate() {
  if (encodesettings.he == AAC_HE_V2 && channels != 2) {
    warn(fmt::format("{}Audio must be stereo to use HE-AAC v2: {}", kInitialize, channels));
  }
  const BitrateLimits defaults = {
      16000, BitrateLimits::saturated(uint64_t{channels} * kBitsPerSampleMost * sampleRate)};
  const BitrateLimits* tabled = limitsOf(sampleRate, encodesettings.he, channels);
  const std::string adjusted = (tabled != nullptr ? *tabled : defaults).adjust(bitrate);
  if (!adjusted.empty()) warn(kInitialize + adjusted);
}

uint32_t AudioEncoderAAC::openEncoder() {
  if (aacOutAudioChkSettings(&callbacks, &encodesettings, 0, sampleRate, nullptr, nullptr) != 0) {
    return refuse("aacOutAudioChkSettings", kSettingsRefused);
  }
  aenc = aacOutAudioNew(&callbacks, &encodesettings, 0, 0, sampleRate);
  if (aenc == nullptr) return refuse("aacOutAudioNew", kNoEncoder);
  if (aacOutAudioInit(aenc, bufferStream.getStream()) != 0) return refuse("aacOutAudioInit", kNotOpened);
  const bool he = encodesettings.he != AAC_HE_OFF;
  timecodeDivisor = he ? 2 : 1;
  firstEncode = 1;
  bufferStream.setChannels(channels);
  bufferStream.setSampleRate(sampleRate);
  assembler.open(he ? kFrameSamplesHe : kFrameSamples, encodesettings.input_channels, sampleRate);
  return kSuccess;
}

uint32_t AudioEncoderAAC::refuse(const char* call, uint32_t result) {
  error(fmt::format("{}Error {}", kInitialize, call));
  return result;
}

uint32_t AudioEncoderAAC::addSampleBuffer(AudioSampleBuffer* buffer, std::vector<AudioFrameEncoded>& out) {
  std::unique_ptr<AudioSampleBuffer> block(buffer);
  return guarded("AudioEncoderAAC::addSampleBuffer", [&]() -> uint32_t {
    if (aenc == nullptr || !assembler.isOpen() || !bufferStream.hasLock()) return kFailure;
    if (!block || countSamples(*block) == 0) return kSuccess;
    if (!fits("AudioEncoderAAC.addSampleBuffer", *block, assembler.getChannels(),
              assembler.getSampleRate())) {
      return kFailure;
    }
    stampStream(*block);
    assembler.add(std::move(block));
    AudioFrameAssembler::Frame frame;
    while (assembler.next(frame)) encode(frame);
    return bufferStream.getEncodedFrames(out);
  });
}

void AudioEncoderAAC::stampStream(const AudioSampleBuffer& block) {
  if (firstEncode == 0) return;
  firstEncode = 0;
  bufferStream.setChannels(block.getChannels());
  if (block.getSampleRate() != 0) bufferStream.setSampleRate(block.getSampleRate());
}

void AudioEncoderAAC::encode(const AudioFrameAssembler::Frame& frame) {
  const uint32_t samples = assembler.getFrameSamples();
  const uint32_t bytes = samples * assembler.getChannels() * kBytesPerSample;
  uint8_t* source = frame.samples;
  if (assembler.getChannels() == 2 && channelCopy != 0) {
    if (tmpChannelCopyBuffer.size() < bytes) tmpChannelCopyBuffer.resize(bytes);
    copyChannels(source, tmpChannelCopyBuffer.data(), channelCopy, samples, 2, kBytesPerSample);
    source = tmpChannelCopyBuffer.data();
  }
  bufferStream.addTimecode(frame.timecode / timecodeDivisor);
  aacOutAudioPutBytes(aenc, source, bytes);
}

uint32_t AudioEncoderAAC::close() {
  return guarded("AudioEncoderAAC::close", [&]() -> uint32_t {
    closeEncoder();
    return kSuccess;
  });
}

void AudioEncoderAAC::closeEncoder() {
  assembler.close();
  if (aenc != nullptr) {
    aacOutAudioDone(aenc, 0);
    aacOutAudioFree(aenc);
    aenc = nullptr;
  }
  bufferStream.close();
}

const ParameterRow<AudioEncoderAAC>* AudioEncoderAAC::parameterOf(uint32_t key) {
  using This = AudioEncoderAAC;
  using Settings = aac_a_settings;
  static constexpr ParameterRow<This> kParameters[] = {
      parameterField<This, &This::encodesettings, &Settings::mpeg_version>(40000),
      parameterField<This, &This::encodesettings, &Settings::aac_object_type>(40001),
      parameterField<This, &This::encodesettings, &Settings::hf_cutoff>(40002),
      parameterField<This, &This::encodesettings, &Settings::vbr>(40003),
      parameterField<This, &This::encodesettings, &Settings::he>(40004),
      parameterField<This, &This::encodesettings, &Settings::protect_adts_stream>(40005),
      parameterField<This, &This::encodesettings, &Settings::tns>(40006),
      parameterField<This, &This::channelCopy>(40007),
      parameterField<This, &This::encodesettings, &Settings::input_channels>(40008),
      parameterField<This, &This::encodesettings, &Settings::audio_bitrate_index>(40009),
      parameterField<This, &This::encodesettings, &Settings::header_type>(40010),
      parameterField<This, &This::encodesettings, &Settings::bits_per_sample>(40011),
      parameterField<This, &This::encodesettings, &Settings::pts_offset>(40012),
      parameterField<This, &This::encodesettings, &Settings::pts_units>(40013),
      parameterField<This, &This::encodesettings, &Settings::ch_mode>(40014),
      parameterField<This, &This::encodesettings, &Settings::LFE_filtering>(40015),
      parameterField<This, &This::encodesettings, &Settings::restart_interval>(40016),
      parameterField<This, &This::encodesettings, &Settings::audio_bitrate_custom>(40017),
  };
  return findParameter(kParameters, key);
}

}  // namespace qvs
