// Real streams against the ffmpeg command: every sample is accounted for.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <utility>

#include "support/AudioDecoderRun.h"
#include "support/Md5.h"

namespace qvs::test {
namespace {

#define NEED_MEDIA()                                                         \
  if (mediaFolder().empty())                                                 \
  GTEST_SKIP() << "QVS_MEDIA names no folder with media: real sound is not " \
                  "checked"

/// What a decoder gives beside what a player plays: samples a channel before and behind it.
struct Stream {
  const char* path;
  const char* library;  ///< ffmpeg's decoder over the library that is used here
  uint32_t leadIn;      ///< Opus: the pre-skip and what the container's edit list adds to it
  uint32_t padding;     ///< the codec's last frame, filled up
  double libraryDb;     ///< 200: the same in every bit
  double ownDb;         ///< against ffmpeg's own decoder; 0 where that one differs by design
};

constexpr Stream kStreams[] = {
    {"audio/opus/bbb_1ch_48kHz_q10_opus.webm", "libopus", 312, 648, 200, 60},
    {"audio/opus/sample_opus.mp4", "libopus", 312 + 21600, 0, 200, 60},
    {"derived/opus_mono_fec_dtx_16k.opus", "libopus", 312, 648, 200, 0},
    {"derived/opus_mono_hybrid_20ms_28k.opus", "libopus", 312, 648, 200, 0},
    {"derived/opus_stereo_celt_10ms.opus", "libopus", 312, 168, 200, 55},
    {"derived/opus_stereo_celt_2.5ms.opus", "libopus", 120, 0, 200, 60},
    {"derived/opus_stereo_celt_40ms.opus", "libopus", 312, 1608, 200, 60},
    {"derived/opus_stereo_celt_60ms.opus", "libopus", 312, 2568, 200, 60},
    {"derived/opus_stereo_lowdelay_cbr_10ms.opus", "libopus", 120, 360, 200, 60},
    {"clips/vp9/bear-320x240-vp9-opus.webm", "libopus", 312, 286, 200, 60},
    {"clips/vp9/serenity_train_vp9_opus.webm", "libopus", 312, 530, 200, 60},
    {"audio/vorbis/loudsoftogg.ogg", "libvorbis", 0, 408, 60, 60},
    {"audio/vorbis/monotestogg.ogg", "libvorbis", 0, 60, 60, 60},
    {"derived/vorbis_mono_8k_speech.ogg", "libvorbis", 0, 0, 60, 60},
    {"derived/vorbis_stereo_48k.ogg", "libvorbis", 0, 64, 60, 60},
    {"clips/vp8/video_480x360_webm_vp8_333kbps_25fps_vorbis_stereo_128kbps_48000hz.webm", "libvorbis", 0, 0,
     60, 60},
    {"audio/speex/speex-with-comments.spx", "libspeex", 0, 0, 200, 0},
    {"derived/speex_wb_16k_vad_dtx_4fpp.spx", "libspeex", 0, 0, 200, 0},
};

class RealAudio : public testing::TestWithParam<Stream> {
 protected:
  void SetUp() override {
    NEED_MEDIA();
    path = mediaFolder() + GetParam().path;
  }
  std::string path;
};

TEST_P(RealAudio, IsWhatFfmpegDecodes) {
  AudioFile file = readAudioFile(path);
  ASSERT_FALSE(file.packets.empty()) << path;
  // ffmpeg plays all Opus at 48000 Hz, whatever the head names.
  constexpr size_t kOpusRateAt = 12;
  if (file.codec == "opus") {
    for (size_t i = 0; i < 4; ++i) file.config[kOpusRateAt + i] = static_cast<uint8_t>(48000u >> (8 * i));
  }
  AudioDecoderRun run(makeAudioDecoder(file.codec));
  ASSERT_TRUE(run.open(file));
  run.feedAll(file);
  for (const uint32_t result : run.results) ASSERT_EQ(result, 0u);

  const Stream& stream = GetParam();
  const auto played =
      std::span(run.samples).subspan(std::min(size_t{stream.leadIn} * file.channels, run.samples.size()));
  const auto expected = decodeWithFfmpeg(path, std::string("-c:a ") + stream.library);
  ASSERT_FALSE(expected.empty()) << "no ffmpeg with " << stream.library;
  EXPECT_EQ(played.size(), expected.size() + size_t{stream.padding} * file.channels);
  EXPECT_GE(snrDb(expected, played), stream.libraryDb);
  if (stream.ownDb > 0) {
    EXPECT_GE(snrDb(decodeWithFfmpeg(path), played), stream.ownDb);
  }
}

INSTANTIATE_TEST_SUITE_P(Media, RealAudio, testing::ValuesIn(kStreams), [](const auto& info) {
  std::string name = info.param.path;
  for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
  return name;
});

/// The stream in a record of its own, with its decoder fed; nothing where there is no media.
struct RealRun {
  explicit RealRun(const std::string& name) : file(readAudioFile(mediaFolder() + name)) {
    if (file.packets.empty()) return;
    run = std::make_unique<AudioDecoderRun>(makeAudioDecoder(file.codec));
    opened = run->open(file);
    run->feedAll(file);
  }
  AudioFile file;
  std::unique_ptr<AudioDecoderRun> run;
  bool opened = false;
};

TEST(RealG711, IsExact) {
  NEED_MEDIA();
  constexpr std::pair<const char*, const char*> kSums[] = {
      {"audio/g711/M1F1-Alaw-AFsp.wav", "dcd123fdb78b1b473dc923d021c0bf00"},
      {"audio/g711/addf8-mulaw-GW.wav", "4227b4cd2f18c5ac5653db6a42af93ad"},
      {"derived/g711_alaw_speech.flv", "70db2984edc70c31fc56a19795813477"},
      {"derived/g711_mulaw_speech.flv", "9ef83473aa639537e0f253793091338a"}};
  for (const auto& [name, sum] : kSums) {
    const RealRun real(name);
    ASSERT_TRUE(real.opened) << name;
    // Behind the values of a block of several channels lies silence.
    std::vector<uint8_t> bytes;
    auto values = reinterpret_cast<const uint8_t*>(real.run->samples.data());
    for (const uint32_t count : real.run->counts) {
      bytes.insert(bytes.end(), values, values + count * sizeof(int16_t));
      values += size_t{count} * real.file.channels * sizeof(int16_t);
    }
    EXPECT_EQ(md5(bytes), sum) << name;
  }
}

TEST(RealOpus, AServedRateOfTheHeadIsUsed) {
  NEED_MEDIA();
  const RealRun twelve("audio/opus/bbb_1ch_48kHz_q10_opus.webm"),
      sixteen("derived/opus_mono_fec_dtx_16k.opus");
  ASSERT_TRUE(twelve.opened && sixteen.opened);
  EXPECT_EQ(twelve.run->decoder().getSampleRate(), 12000);
  EXPECT_EQ(twelve.run->samples.size(), 144960u / 4);
  EXPECT_EQ(sixteen.run->decoder().getSampleRate(), 16000);
  EXPECT_EQ(sixteen.run->samples.size(), 192960u / 3);
}

TEST(RealSpeex, ModesAndChannels) {
  NEED_MEDIA();
  const RealRun narrow("audio/speex/female_scrub.spx"), ultra("derived/speex_uwb_32k_q9.spx"),
      stereo("derived/speex_wb_16k_stereo.spx");
  ASSERT_TRUE(narrow.run);
  EXPECT_FALSE(narrow.opened) << "narrowband is refused";
  EXPECT_TRUE(narrow.run->samples.empty());
  ASSERT_TRUE(ultra.opened && stereo.opened);
  EXPECT_EQ(ultra.run->samples.size(), 160000u / 2) << "at half the rate";
  EXPECT_EQ(stereo.run->samples.size(), 64000u) << "one channel, all samples";
  // Both channels of an intensity-coded stream are the one channel at two levels.
  const auto both = decodeWithFfmpeg(mediaFolder() + "derived/speex_wb_16k_stereo.spx", "-c:a libspeex");
  ASSERT_EQ(both.size(), 2 * stereo.run->samples.size());
  double product = 0, ours = 0, theirs = 0;
  for (size_t i = 0; i < stereo.run->samples.size(); ++i) {
    const double sample = stereo.run->samples[i], sum = both[2 * i] + both[2 * i + 1];
    product += sample * sum;
    ours += sample * sample;
    theirs += sum * sum;
  }
  EXPECT_GT(product / std::sqrt(ours * theirs), 0.99);
}

}  // namespace
}  // namespace qvs::test
