// Vorbis out by libvorbis in whole Ogg pages: headers, pages, granule positions, parameters.
#include "audio/AudioEncoderVorbis.h"

#include <fmt/format.h>
#include <vorbis/vorbisenc.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <iterator>
#include <memory>

#include "audio/BitrateLimits.h"
#include "audio/EncodedAudio.h"
#include "frames/AudioSampleBuffer.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr const char* kInitialize = "AudioEncoderVorbis.initialize[{context}]: ";
constexpr uint32_t kCodedChannelsMost = 2;
constexpr size_t kHoldersMost = 1024;
constexpr uint32_t kChunkSamples = 4096;  ///< the codec's working memory grows with what it is given at once

/// Bit rates, bit/s.
struct RateRow {
  uint32_t sampleRate;
  BitrateLimits mono;
  BitrateLimits other;
};

constexpr RateRow kRates[] = {
    {8000, {8000, 16000}, {16000, 32000}},     {11025, {24000, 40000}, {48000, 80000}},
    {12000, {24000, 40000}, {48000, 80000}},   {16000, {32000, 80000}, {64000, 160000}},
    {22050, {32000, 80000}, {64000, 160000}},  {24000, {40000, 80000}, {80000, 160000}},
    {32000, {48000, 112000}, {96000, 224000}}, {44100, {48000, 128000}, {96000, 256000}},
    {48000, {48000, 160000}, {96000, 320000}},
};

struct Failure {
  int code;
  const char* text;
};

constexpr Failure kFailures[] = {
    {OV_EINVAL, "Failure [OV_EINVAL], invalid setup request, eg, out of range argument"},
    {OV_EIMPL, "Failure [OV_EIMPL], unimplemented mode; unable to comply with bitrate request"},
    {OV_EFAULT, "Failure [OV_EFAULT], internal logic fault; indicates a bug or heap/stack corruption"},
};

std::span<const uint8_t> headOf(const ogg_page& page) {
  return {page.header, static_cast<size_t>(page.header_len)};
}

std::span<const uint8_t> bodyOf(const ogg_page& page) {
  return {page.body, static_cast<size_t>(page.body_len)};
}

}  // namespace

AudioEncoderVorbis::~AudioEncoderVorbis() {
  close();
}

uint32_t AudioEncoderVorbis::initialize() {
  const uint32_t result = guarded("AudioEncoderVorbis::initialize", [&]() -> uint32_t {
    closeEncoder();
    limitBitrate();
    return !openEncoder() || addHeaders() ? kSuccess : kFailure;
  });
  if (result != kSuccess) closeEncoder();
  return result;
}

void AudioEncoderVorbis::limitBitrate() {
  BitrateLimits limits = {48000, BitrateLimits::saturated(uint64_t{channels} * 128000)};
  const auto* row = std::find_if(std::begin(kRates), std::end(kRates), [&](const RateRow& candidate) {
    return candidate.sampleRate == sampleRate;
  });
  if (row != std::end(kRates)) {
    limits = channels == 1 ? row->mono : row->other;
  } else {
    warn(fmt::format("{}Sample frequency is not supported by Vorbis: {}", kInitialize, sampleRate));
  }
  const std::string adjusted = limits.adjust(bitrate);
  if (!adjusted.empty()) warn(kInitialize + adjusted);
}

bool AudioEncoderVorbis::openEncoder() {
  vorbis_info_init(&vorbisInfo);
  const int code = setUpEncoder();
  if (code != 0) {
    logFailure(code);
    vorbis_info_clear(&vorbisInfo);
    return false;
  }
  vorbis_comment_init(&comment);
  vorbis_comment_add_tag(&comment, "ENCODER", "Zarvo Vorbis Encode");
  vorbis_analysis_init(&dspState, &vorbisInfo);
  vorbis_block_init(&dspState, &block);
  ogg_stream_init(&streamState, static_cast<int>(std::time(nullptr)));
  encoderInited = 1;
  return true;
}

int AudioEncoderVorbis::setUpEncoder() {
  // Of more channels only two are coded, so that the stream has two; the library divides by their count.
  const uint32_t coded = std::min(channels, kCodedChannelsMost);
  if (coded == 0) return OV_EINVAL;
  const int code =
      vorbis_encode_setup_managed(&vorbisInfo, static_cast<long>(coded), static_cast<long>(sampleRate), -1,
                                  static_cast<long>(bitrate), -1);
  if (code != 0) return code;
  if (unmanaged) vorbis_encode_ctl(&vorbisInfo, OV_ECTL_RATEMANAGE2_SET, nullptr);
  return vorbis_encode_setup_init(&vorbisInfo);
}

void AudioEncoderVorbis::logFailure(int code) const {
  const auto* row = std::find_if(std::begin(kFailures), std::end(kFailures),
                                 [&](const Failure& failure) { return failure.code == code; });
  const std::string text =
      row != std::end(kFailures) ? row->text : fmt::format("Failure [{}], unknown error", code);
  error(fmt::format("{}{}: channels:{} sampleRate:{} bitrate:{}", kInitialize, text, channels, sampleRate,
                    bitrate));
}

bool AudioEncoderVorbis::addHeaders() {
  ogg_packet identification, comments, books;
  vorbis_analysis_headerout(&dspState, &comment, &identification, &comments, &books);
  for (ogg_packet* header : {&identification, &comments, &books}) ogg_stream_packetin(&streamState, header);
  const EncodedAudio::Stamp stamp{0, channels, sampleRate};
  bool kept = true;
  for (int index = 0; kept && ogg_stream_flush(&streamState, &page) != 0; ++index) {
    if (index == 1) {
      kept = EncodedAudio::append(headers, stamp, headOf(page)) &&
             EncodedAudio::append(headers, stamp, bodyOf(page));
    } else {
      kept = EncodedAudio::append(headers, stamp, headOf(page), bodyOf(page));
    }
  }
  return kept;
}

uint32_t AudioEncoderVorbis::getHeaders(std::vector<AudioFrameEncoded>& out) {
  return guarded("AudioEncoderVorbis::getHeaders", [&]() -> uint32_t {
    out.insert(out.end(), headers.begin(), headers.end());
    return kSuccess;
  });
}

uint32_t AudioEncoderVorbis::addSampleBuffer(AudioSampleBuffer* buffer, std::vector<AudioFrameEncoded>& out) {
  const std::unique_ptr<AudioSampleBuffer> samples(buffer);
  return guarded("AudioEncoderVorbis::addSampleBuffer", [&]() -> uint32_t {
    constexpr const char* kLabel = "AudioEncoderVorbis.addSampleBuffer";
    const uint32_t count = samples ? countSamples(*samples) : 0;
    if (count == 0) return kSuccess;
    if (encoderInited == 0) return kFailure;
    if (timecodeList.size() >= kHoldersMost) {
      if (!fullReported) {
        error(fmt::format(
            "{}[{{context}}]: Timecode list is full. Encoder must be stopped for unknown reason.", kLabel));
      }
      fullReported = true;
      return kSuccess;
    }
    if (!fits(kLabel, *samples, 0, static_cast<uint32_t>(vorbisInfo.rate))) return kFailure;
    const uint32_t start = samples->getSampleIndex();
    hold(samples->getTimecode() + start, count);
    for (uint32_t done = 0; done < count; done += kChunkSamples) {
      write(*samples, start + done, std::min(kChunkSamples, count - done));
      analyse();
    }
    takePages(samples->getChannels(), out);
    return kSuccess;
  });
}

// Blocks that follow each other share a holder: ones of a few samples would else fill the list before the
// codec has enough for a page.
void AudioEncoderVorbis::hold(uint64_t timecode, uint32_t count) {
  AudioSampleHolder* last = timecodeList.empty() ? nullptr : &timecodeList[timecodeList.size() - 1];
  if (last != nullptr && last->timecode + last->sampleCount == timecode && count <= ~last->sampleCount) {
    last->sampleCount += count;
  } else {
    timecodeList.push({timecode, count});
  }
}

void AudioEncoderVorbis::write(const AudioSampleBuffer& samples, uint32_t index, uint32_t count) {
  const uint32_t stride = samples.getChannels();
  float** planes = vorbis_analysis_buffer(&dspState, static_cast<int>(count));
  for (int channel = 0; channel < vorbisInfo.channels; ++channel) {
    float* plane = planes[channel];
    // The only channel of a mono block stands for both.
    const size_t offset = static_cast<uint32_t>(channel) < stride ? static_cast<size_t>(channel) : 0;
    const uint8_t* source = samples.getBuffer() + (size_t{index} * stride + offset) * sizeof(int16_t);
    for (uint32_t i = 0; i < count; ++i, source += stride * sizeof(int16_t)) {
      int16_t sample;
      std::memcpy(&sample, source, sizeof sample);
      plane[i] = static_cast<float>(sample / 32768.0);
    }
  }
  vorbis_analysis_wrote(&dspState, static_cast<int>(count));
}

void AudioEncoderVorbis::analyse() {
  while (vorbis_analysis_blockout(&dspState, &block) == 1) {
    vorbis_analysis(&block, nullptr);
    vorbis_bitrate_addblock(&block);
    while (vorbis_bitrate_flushpacket(&dspState, &packet) != 0) {
      ogg_stream_packetin(&streamState, &packet);
      // The first packet gives no audio, only where the count starts.
      if (lastGranule < 0) lastGranule = packet.granulepos;
    }
  }
}

void AudioEncoderVorbis::account(int64_t granule) {
  if (granule < lastGranule) return;  // a page on which no packet ends
  int64_t consumed = granule - lastGranule;
  lastGranule = granule;
  while (consumed > 0 && !timecodeList.empty()) {
    AudioSampleHolder& holder = timecodeList.front();
    const auto taken = static_cast<uint32_t>(std::min<int64_t>(consumed, holder.sampleCount));
    holder.sampleCount -= taken;
    holder.timecode += taken;
    consumed -= taken;
    timecodeReached = holder.timecode;
    if (holder.sampleCount == 0) timecodeList.pop();
  }
  if (!timecodeList.empty()) timecodeReached = timecodeList.front().timecode;
}

void AudioEncoderVorbis::takePages(uint32_t blockChannels, std::vector<AudioFrameEncoded>& out) {
  while (ogg_stream_flush(&streamState, &page) != 0) {
    account(ogg_page_granulepos(&page));
    const EncodedAudio::Stamp stamp{timecodeReached, blockChannels, static_cast<uint32_t>(vorbisInfo.rate)};
    EncodedAudio::append(out, stamp, headOf(page), bodyOf(page));
  }
}

uint32_t AudioEncoderVorbis::close() {
  return guarded("AudioEncoderVorbis::close", [&]() -> uint32_t {
    closeEncoder();
    return kSuccess;
  });
}

const ParameterRow<AudioEncoderVorbis>* AudioEncoderVorbis::parameterOf(uint32_t key) {
  using This = AudioEncoderVorbis;
  static constexpr ParameterRow<This> kParameters[] = {parameterField<This, &This::unmanaged>(kKeyUnmanaged)};
  return findParameter(kParameters, key);
}

void AudioEncoderVorbis::closeEncoder() {
  timecodeList.clear();
  EncodedAudio::release(headers);
  lastGranule = -1;
  fullReported = false;
  if (encoderInited == 0) return;
  encoderInited = 0;
  ogg_stream_clear(&streamState);
  vorbis_block_clear(&block);
  vorbis_dsp_clear(&dspState);
  vorbis_comment_clear(&comment);
  vorbis_info_clear(&vorbisInfo);
}

}  // namespace qvs
