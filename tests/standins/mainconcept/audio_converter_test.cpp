#include <gtest/gtest.h>
#include <mc_audio_converter.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "support/SweptSine.h"

namespace {

/// A stream without an end.
class Sink {
 public:
  Sink() {
    stream.chunksize = [](bufstream_tt* from) { return of(from).room; };
    stream.usable_bytes = stream.chunksize;
    stream.request = [](bufstream_tt* from, uint32_t size) {
      of(from).bytes.resize(of(from).used + size);
      return of(from).bytes.data() + of(from).used;
    };
    stream.confirm = [](bufstream_tt* from, uint32_t size) { return of(from).used += size, size; };
    stream.copybytes = [](bufstream_tt* from, uint8_t* data, uint32_t size) {
      of(from).bytes.resize(of(from).used);
      of(from).bytes.insert(of(from).bytes.end(), data, data + size);
      of(from).used += size;
      return size;
    };
    stream.Buf_IO_struct = this;
  }
  std::vector<int16_t> samples() const {
    const auto* first = reinterpret_cast<const int16_t*>(bytes.data());
    return {first, first + used / 2};
  }

  bufstream_tt stream{};
  uint32_t room = 1 << 24;  ///< 0 makes the converter hand over copies

 private:
  static Sink& of(bufstream_tt* stream) { return *static_cast<Sink*>(stream->Buf_IO_struct); }
  std::vector<uint8_t> bytes;
  uint32_t used = 0;
};

converter_settings settingsFor(uint32_t rateIn, uint32_t channelsIn, uint32_t maskIn, uint32_t rateOut,
                               uint32_t channelsOut, uint32_t maskOut) {
  converter_settings settings{};
  settings.input_bits_per_sample = settings.output_bits_per_sample = 16;
  settings.input_format = DATA_PCM;
  settings.input_channels = static_cast<uint8_t>(channelsIn);
  settings.output_channels = static_cast<uint8_t>(channelsOut);
  settings.input_channel_mask = maskIn;
  settings.output_channel_mask = maskOut;
  settings.input_samplerate = rateIn;
  settings.output_samplerate = rateOut;
  return settings;
}

converter_settings stereo(uint32_t rateIn, uint32_t rateOut) {
  return settingsFor(rateIn, 2, 3, rateOut, 2, 3);
}

struct Freer {
  void operator()(audio_converter_tt* converter) const { audioConverterFree(converter); }
};
using ConverterPtr = std::unique_ptr<audio_converter_tt, Freer>;

ConverterPtr open(const converter_settings& settings, Sink& sink) {
  callbacks_t callbacks{};
  EXPECT_EQ(audioConverterCheckSettings(&callbacks, &settings, 0, nullptr), 0u);
  ConverterPtr converter(audioConverterNew(&callbacks, &settings));
  EXPECT_EQ(audioConverterInit(converter.get(), &sink.stream), 0u);
  return converter;
}

uint32_t put(const ConverterPtr& converter, const std::vector<int16_t>& samples, size_t from, size_t count) {
  return audioConverterPutBytes(converter.get(), reinterpret_cast<const uint8_t*>(samples.data() + from),
                                static_cast<uint32_t>(count * 2), 0, nullptr);
}

/// All of `samples` in blocks of `frames`, and the rest behind them.
std::vector<int16_t> convert(const converter_settings& settings, const std::vector<int16_t>& samples,
                             size_t frames, uint32_t room = 1 << 24) {
  Sink sink;
  sink.room = room;
  const ConverterPtr converter = open(settings, sink);
  const size_t step = frames * settings.input_channels;
  for (size_t at = 0; at < samples.size(); at += step) {
    EXPECT_EQ(put(converter, samples, at, std::min(step, samples.size() - at)), 0u);
  }
  audioConverterDone(converter.get(), 0);
  return sink.samples();
}

TEST(AudioConverter, SweptSineKeeps93Decibels) {
  for (const auto& [from, to] : {std::pair{44100u, 48000u}, {48000u, 44100u}}) {
    const auto out = convert(stereo(from, to), qvs::test::sweptSine(from, 5.0, 2), 1024);
    EXPECT_GE(qvs::test::sweptSineSnr(out, to, 5.0, 2), 93.0) << from << " to " << to;
  }
}

TEST(AudioConverter, BlockSizesAndRoomInTheStreamDoNotShowInTheSamples) {
  const auto in = qvs::test::sweptSine(44100, 1.0, 2);
  const auto whole = convert(stereo(44100, 48000), in, in.size());
  for (size_t frames : {1u, 7u, 441u, 4096u})
    EXPECT_EQ(convert(stereo(44100, 48000), in, frames), whole) << frames;
  EXPECT_EQ(convert(stereo(44100, 48000), in, 1024, 0), whole) << "through copies";
}

TEST(AudioConverter, SameFormatIsHandedOnBitForBit) {
  std::mt19937 random(1);
  for (uint32_t mask : {4u, 3u, 63u, 255u, 0xFFFFu}) {
    const auto channels = static_cast<uint32_t>(__builtin_popcount(mask));
    std::vector<int16_t> in(channels * 1000);
    for (int16_t& sample : in) sample = static_cast<int16_t>(random());
    EXPECT_EQ(convert(settingsFor(48000, channels, mask, 48000, channels, mask), in, 100), in) << channels;
  }
}

TEST(AudioConverter, DrainedCountIsTheRoundedDuration) {
  const uint32_t rates[] = {8000,  11025, 16000,  22050, 32000, 44100,
                            48000, 96000, 192000, 44101, 1000,  12345};
  std::mt19937 random(2);
  for (uint32_t from : rates) {
    for (uint32_t to : rates) {
      if (std::max(from, to) / std::min(from, to) > 64) continue;
      for (uint32_t frames : {1u, 31u, 64u, 65u, 500u, 4096u, static_cast<uint32_t>(random() % 20000 + 1)}) {
        const uint64_t wanted = (2 * uint64_t{frames} * to + from - 1) / (2 * from);
        const std::vector<int16_t> in(frames * 2, 1000);
        EXPECT_EQ(convert(stereo(from, to), in, 1024).size(), wanted * 2)
            << frames << ": " << from << " to " << to;
      }
    }
  }
}

TEST(AudioConverter, TakesSamplesAgainAfterADrain) {
  Sink sink;
  const ConverterPtr converter = open(stereo(44100, 48000), sink);
  const std::vector<int16_t> in(44100 * 2, 5000);
  size_t wanted = 0;
  for (int32_t abort : {0, 1, 0}) {
    EXPECT_EQ(put(converter, in, 0, in.size()), 0u);
    const size_t before = sink.samples().size();
    audioConverterDone(converter.get(), abort);
    audioConverterDone(converter.get(), 0);
    wanted += 96000;
    if (abort == 0) {
      EXPECT_EQ(sink.samples().size(), wanted);
    } else {
      EXPECT_EQ(sink.samples().size(), before) << "discarded";
      wanted = before;
    }
  }
}

/// Levels of the target's channels, in percent, when each source channel sounds alone.
std::vector<std::vector<int>> mixOf(uint32_t maskIn, uint32_t channelsIn, uint32_t maskOut,
                                    uint32_t channelsOut) {
  std::vector<std::vector<int>> levels;
  for (uint32_t channel = 0; channel < channelsIn; ++channel) {
    std::vector<int16_t> in(channelsIn * 64);
    for (size_t at = channel; at < in.size(); at += channelsIn) in[at] = 10000;
    const auto out = convert(settingsFor(48000, channelsIn, maskIn, 48000, channelsOut, maskOut), in, 64);
    EXPECT_EQ(out.size(), 64 * channelsOut);
    auto& row = levels.emplace_back();
    for (uint32_t at = 0; at < channelsOut; ++at) row.push_back((out[32 * channelsOut + at] + 50) / 100);
  }
  return levels;
}

TEST(AudioConverter, MasksSayWhatIsMixedWhere) {
  using Levels = std::vector<std::vector<int>>;
  EXPECT_EQ(mixOf(4, 1, 3, 2), (Levels{{71, 71}}));
  EXPECT_EQ(mixOf(3, 2, 4, 1), (Levels{{50}, {50}}));
  const Levels surroundToStereo = {{41, 0}, {0, 41}, {29, 29}, {0, 0}, {29, 0}, {0, 29}};
  EXPECT_EQ(mixOf(63, 6, 3, 2), surroundToStereo);
  EXPECT_EQ(mixOf(15 | CHANNEL_FLAG_Lrs | CHANNEL_FLAG_Rrs, 6, 3, 2), surroundToStereo)
      << "either surround pair";
  EXPECT_EQ(mixOf(3, 2, 63, 6), (Levels{{100, 0, 0, 0, 0, 0}, {0, 100, 0, 0, 0, 0}}));
  const Levels eightToStereo = {{32, 0}, {0, 32}, {23, 23}, {0, 0}, {23, 0}, {0, 23}, {23, 0}, {0, 23}};
  EXPECT_EQ(mixOf(255, 8, 3, 2), eightToStereo);
  EXPECT_EQ(mixOf(4, 8, 3, 2), eightToStereo) << "eight untold channels are the usual eight";
  for (const uint32_t mask : {0u, 3u, 255u}) {
    EXPECT_EQ(mixOf(mask, 6, mask, 2), surroundToStereo) << "masks for other counts: the usual layouts";
    EXPECT_EQ(mixOf(mask, 1, 3, 2), (Levels{{71, 71}}));
  }
  EXPECT_EQ(mixOf(CHANNEL_FLAG_C | CHANNEL_FLAG_LFE, 2, 4, 1), (Levels{{100}, {0}}));
}

int16_t levelOf(uint32_t channel) {
  return static_cast<int16_t>(1000 + 1500 * channel);
}

TEST(AudioConverter, ChannelsKeepTheirOrder) {
  for (uint32_t mask : {15u | CHANNEL_FLAG_Ls | CHANNEL_FLAG_Rs, 15u | CHANNEL_FLAG_Lrs | CHANNEL_FLAG_Rrs,
                        255u, 0x1FFu, 0xFFFFu, 8u, 5u, uint32_t{CHANNEL_FLAG_9}}) {
    const auto channels = static_cast<uint32_t>(__builtin_popcount(mask));
    std::vector<int16_t> in;
    for (int frame = 0; frame < 2000; ++frame) {
      for (uint32_t channel = 0; channel < channels; ++channel) in.push_back(levelOf(channel));
    }
    const auto out = convert(settingsFor(44100, channels, mask, 48000, channels, mask), in, 1000);
    ASSERT_EQ(out.size(), 2177 * channels) << mask;
    for (uint32_t channel = 0; channel < channels; ++channel) {
      EXPECT_NEAR(out[1000 * channels + channel], levelOf(channel), 2) << mask;
    }
  }
}

TEST(AudioConverter, RefusesWhatItCannotServe) {
  struct Row {
    uint32_t code;
    void (*spoil)(converter_settings&);
  };
  const Row rows[] = {
      {AUDIO_CONVERTER_BAD_CHANNELS, [](auto& s) { s.input_channels = 0; }},
      {AUDIO_CONVERTER_BAD_CHANNELS, [](auto& s) { s.output_channels = 0; }},
      {AUDIO_CONVERTER_BAD_MASK, [](auto& s) { s.input_channels = 17, s.input_channel_mask = 0x1FFFF; }},
      {AUDIO_CONVERTER_BAD_MASK, [](auto& s) { s.input_channel_mask = CHANNEL_FLAG_L | CHANNEL_FLAG_C; }},
      {AUDIO_CONVERTER_BAD_MASK, [](auto& s) { s.input_channel_mask = CHANNEL_FLAG_9 | CHANNEL_FLAG_10; }},
      {AUDIO_CONVERTER_BAD_MASK,
       [](auto& s) { s.input_channels = 9, s.input_channel_mask = CHANNEL_FLAG_C; }},
      {AUDIO_CONVERTER_BAD_RATE, [](auto& s) { s.input_samplerate = 0; }},
      {AUDIO_CONVERTER_BAD_RATE, [](auto& s) { s.input_samplerate = 1; }},
      {AUDIO_CONVERTER_BAD_RATE, [](auto& s) { s.output_samplerate = 4000000000u; }},
      {AUDIO_CONVERTER_BAD_RATE, [](auto& s) { s.input_samplerate = 1000, s.output_samplerate = 65000; }},
      {AUDIO_CONVERTER_BAD_FORMAT, [](auto& s) { s.input_bits_per_sample = 24; }},
      {AUDIO_CONVERTER_BAD_FORMAT, [](auto& s) { s.input_format = DATA_FLOAT; }},
      {AUDIO_CONVERTER_BAD_MODE, [](auto& s) { s.user_matrix = 1; }},
      {AUDIO_CONVERTER_BAD_MODE, [](auto& s) { s.separate_output_channels_mode = 1; }},
  };
  callbacks_t callbacks{};
  for (const Row& row : rows) {
    converter_settings settings = stereo(44100, 48000);
    row.spoil(settings);
    EXPECT_EQ(audioConverterCheckSettings(&callbacks, &settings, 0, nullptr), row.code) << &row - rows;
    EXPECT_EQ(audioConverterNew(&callbacks, &settings), nullptr) << &row - rows;
  }
  Sink sink;
  const ConverterPtr converter = open(stereo(44100, 48000), sink);
  const uint8_t bytes[6] = {};
  EXPECT_NE(audioConverterPutBytes(converter.get(), bytes, 6, 0, nullptr), 0u) << "half a sample group";
  EXPECT_NE(audioConverterPutBytes(converter.get(), nullptr, 4, 0, nullptr), 0u);
  EXPECT_NE(audioConverterInit(converter.get(), nullptr), 0u);
}

}  // namespace
