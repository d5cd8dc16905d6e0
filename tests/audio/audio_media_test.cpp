// Real streams against the ffmpeg command and the vectors' own reference decode: every sample is accounted for.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <memory>
#include <utility>

#include "support/Md5.h"
#include "support/MpegAudio.h"

namespace qvs::test {
namespace {

#define NEED_MEDIA()                                                         \
  if (mediaFolder().empty())                                                 \
  GTEST_SKIP() << "QVS_MEDIA names no folder with media: real audio is not " \
                  "checked"

AudioFile readAudio(const std::string& name) {
  AudioFile file = readAudioFile(mediaFolder() + name);
  removeAdtsHeaders(file);
  return file;
}

/// What a decoder gives beside what a player plays: samples a channel before and behind it.
struct Stream {
  const char* path;
  uint32_t leadIn;  ///< AAC: priming; MP3: that and the decoder's 529 samples; Opus: pre-skip and edit list
  int32_t padding;  ///< the last frame, filled up; below 0: a last frame that was cut off isn't decoded
  const char* note = "";     ///< where the numbers come from
  const char* decoder = "";  ///< ffmpeg's, over the library that is used here; else its own, in float
  double leastDb = 90;       ///< 200: the same in every bit
  double ownDb = 0;          ///< against ffmpeg's own choice; 0 where that one differs by design
};

constexpr Stream kStreams[] = {
    {"audio/opus/bbb_1ch_48kHz_q10_opus.webm", 312, 648, "", "-c:a libopus", 200, 60},
    {"audio/opus/sample_opus.mp4", 312 + 21600, 0, "", "-c:a libopus", 200, 60},
    {"derived/opus_mono_fec_dtx_16k.opus", 312, 648, "", "-c:a libopus", 200, 0},
    {"derived/opus_mono_hybrid_20ms_28k.opus", 312, 648, "", "-c:a libopus", 200, 0},
    {"derived/opus_stereo_celt_10ms.opus", 312, 168, "", "-c:a libopus", 200, 55},
    {"derived/opus_stereo_celt_2.5ms.opus", 120, 0, "", "-c:a libopus", 200, 60},
    {"derived/opus_stereo_celt_40ms.opus", 312, 1608, "", "-c:a libopus", 200, 60},
    {"derived/opus_stereo_celt_60ms.opus", 312, 2568, "", "-c:a libopus", 200, 60},
    {"derived/opus_stereo_lowdelay_cbr_10ms.opus", 120, 360, "", "-c:a libopus", 200, 60},
    {"clips/vp9/bear-320x240-vp9-opus.webm", 312, 286, "", "-c:a libopus", 200, 60},
    {"clips/vp9/serenity_train_vp9_opus.webm", 312, 530, "", "-c:a libopus", 200, 60},
    {"audio/vorbis/loudsoftogg.ogg", 0, 408, "", "-c:a libvorbis", 60, 60},
    {"audio/vorbis/monotestogg.ogg", 0, 60, "", "-c:a libvorbis", 60, 60},
    {"derived/vorbis_mono_8k_speech.ogg", 0, 0, "", "-c:a libvorbis", 60, 60},
    {"derived/vorbis_stereo_48k.ogg", 0, 64, "", "-c:a libvorbis", 60, 60},
    {"clips/vp8/video_480x360_webm_vp8_333kbps_25fps_vorbis_stereo_128kbps_48000hz.webm", 0, 0, "",
     "-c:a libvorbis", 60, 60},
    {"audio/speex/speex-with-comments.spx", 0, 0, "", "-c:a libspeex", 200, 0},
    {"derived/speex_wb_16k_vad_dtx_4fpp.spx", 0, 0, "", "-c:a libspeex", 200, 0},
    {"vectors/mpegaudio/l3-compl.bit", 0, -1152, "the file ends inside its last frame"},
    {"vectors/mpegaudio/M2L3_bitrate_24_all.bit", 0, 0},
    {"vectors/mpegaudio/l3-si_block.bit", 0, 0},
    {"vectors/mpegaudio/l3-hecommon.bit", 0, 0},
    {"vectors/mpegaudio/l2-fl13.bit", 0, 0},
    {"vectors/mpegaudio/l2-test32.bit", 0, 0},
    {"clips/mpeg4/androidx_sample_mpeg4_mp3.avi", 0, 0},
    {"clips/mpeg2/bear.m2ts", 0, 0},
    {"clips/h264/sample_h264_mpeg_audio.ts", 0, 0},
    {"derived/mp2_mono_24k_lsf_speech.mp2", 0, 0},
    {"derived/flv1_mp3_from_asl_book.flv", 0, 0},
    {"audio/mp2/sample-96kbps.mp2", 0, 0},
    {"audio/mp3/bear-vbr-xing-header.mp3", 1105, 47, "LAME's tag: 576 samples of lead-in"},
    {"audio/mp3/monotestmp3.mp3", 1105, 875, "LAME's tag"},
    {"audio/mp3/sinesweepmp3lame.mp3", 1105, 1379, "LAME's tag"},
    {"audio/aac/loudsoftaac.aac", 0, 0, "no container, no priming told"},
    {"audio/aac/bbb_aac_stereo_128kbps_48000hz.aac", 0, 0, "as above"},
    {"audio/aac/sinesweep51m4a.m4a", 0, 0, "six channels"},
    {"audio/aac/bear-640x360-aac_he-silent_right.mp4", 10116, 0,
     "HE, told of explicitly; an edit list of 5058, which ffmpeg drops at both rates"},
    {"clips/h264/bear-1280x720.mp4", 1024, 0, "edit list"},
    {"clips/h264/bear-640x360.ts", 0, 0},
    {"clips/h264/membrane_reference.flv", 0, 0},
    {"clips/h264/sintel-1024x436.mp4", 0, 0, "six channels"},
    {"clips/h264/sample_with_increasing_timestamps_320w_240h_5s.mp4", 0, 0},
    {"clips/hevc/h265_with_metadata_track.mp4", 0, 0},
    {"clips/vp9/bear-640x360-vp9.mp4", 1024, 0, "edit list"},
};

class RealAudio : public testing::TestWithParam<Stream> {};

TEST_P(RealAudio, IsWhatFfmpegDecodes) {
  NEED_MEDIA();
  const Stream& stream = GetParam();
  const std::string path = mediaFolder() + stream.path;
  AudioFile file = readAudio(stream.path);
  ASSERT_FALSE(file.packets.empty());
  // ffmpeg plays all Opus at 48000 Hz, whatever the head names.
  constexpr size_t kOpusRateAt = 12;
  if (file.codec == "opus") {
    for (size_t i = 0; i < 4; ++i) file.config[kOpusRateAt + i] = static_cast<uint8_t>(48000u >> (8 * i));
  }
  AudioDecoderRun run(makeAudioDecoder(file.codec));
  ASSERT_TRUE(run.open(file));
  run.feedAll(file);
  for (const uint32_t result : run.results) ASSERT_EQ(result, 0u);

  // ffmpeg's own choice for layer II is a decoder in whole numbers.
  const auto expected = decodeWithFfmpeg(path, file.codec == "mp2" ? "-c:a mp2float" : stream.decoder);
  ASSERT_FALSE(expected.empty()) << "no ffmpeg with " << stream.decoder;
  EXPECT_EQ(run.decoder().getDecodedChannels(), file.channels);
  const size_t leadIn = std::min(size_t{stream.leadIn} * file.channels, run.samples.size());
  const auto played = std::span(run.samples).subspan(leadIn);
  EXPECT_EQ(static_cast<int64_t>(played.size()),
            static_cast<int64_t>(expected.size()) + int64_t{stream.padding} * file.channels)
      << stream.note;
  EXPECT_GE(snrDb(expected, played), stream.leastDb) << stream.note;
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

std::vector<int16_t> readPcm(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(in), {}};
  std::vector<int16_t> samples(bytes.size() / 2);
  for (size_t i = 0; i < samples.size(); ++i) {
    samples[i] =
        static_cast<int16_t>(static_cast<uint8_t>(bytes[2 * i]) | static_cast<int8_t>(bytes[2 * i + 1]) << 8);
  }
  return samples;
}

TEST(MpegVectors, AreWithinTheStandardsAccuracy) {
  NEED_MEDIA();
  // The standard's limited accuracy, in 16-bit steps. Full accuracy is a sixteenth of it.
  const double bound = 32768 * std::pow(2.0, -11) / std::sqrt(12.0);
  for (const char* name : {"l3-hecommon", "l3-si_block", "l2-fl13"}) {
    const std::string path = std::string("vectors/mpegaudio/") + name;
    const auto decoded = decodeAudio(readAudio(path + ".bit"));
    const auto reference = readPcm(mediaFolder() + path + ".pcm");
    const size_t count = std::min(decoded.size(), reference.size());
    // The references of layer III lack the last frame.
    ASSERT_GE(count + 2304, std::max(decoded.size(), size_t{1} << 15)) << name;
    double sum = 0;
    for (size_t i = 0; i < count; ++i) {
      const double difference = decoded[i] - reference[i];
      sum += difference * difference;
    }
    const double rms = std::sqrt(sum / static_cast<double>(count));
    EXPECT_LT(rms, bound / 16) << name;
    std::printf("%s: %.4f of a 16-bit step, bound %.4f\n", name, rms, bound);
  }
}

TEST(MpegVectors, ChannelsMayChangeWithEachFrame) {
  NEED_MEDIA();
  const AudioFile file = readAudio("vectors/mpegaudio/l3-he_mode.bit");
  MpegAudioRun run(file);
  std::vector<uint32_t> seen(3);
  for (const AudioPacket& packet : file.packets) {
    ASSERT_EQ(run.feed(packet.bytes, 0), 0u);
    ASSERT_EQ(run.block().getSampleCount(), 1152u);
    ASSERT_LE(run.block().getChannels(), 2u);
    ++seen[run.block().getChannels()];
  }
  EXPECT_EQ(seen[0], 0u);
  EXPECT_GT(seen[1], 20u);
  EXPECT_GT(seen[2], 20u);
}

TEST(RealMpegAudioClock, RunsOnWithoutAGap) {
  NEED_MEDIA();
  for (const char* name : {"audio/aac/bear-640x360-aac_he-silent_right.mp4", "clips/h264/bear-1280x720.mp4",
                           "audio/mp3/sinesweepmp3lame.mp3", "clips/mpeg2/bear.m2ts"}) {
    const AudioFile file = readAudio(name);
    MpegAudioRun run(file);
    const double start = file.packets[0].timecodeMs;
    for (const AudioPacket& packet : file.packets) {
      run.feed(packet.bytes, static_cast<uint64_t>(std::llround(packet.timecodeMs - start)) + 1000);
    }
    for (size_t i = 1; i < run.codes.size(); ++i) {
      ASSERT_EQ(run.codes[i], run.codes[i - 1] + run.counts[i - 1]) << name << " block " << i;
    }
    EXPECT_EQ(run.codes[0], run.decoder().getDecodedSampleRate()) << name;
  }
}

TEST(RealMpegAudioKeys, MonoBecomesTwoEqualChannels) {
  NEED_MEDIA();
  for (const char* name : {"audio/aac/loudsoftaac.aac", "audio/mp3/monotestmp3.mp3"}) {
    const AudioFile file = readAudio(name);
    const auto mono = decodeAudio(file);
    MpegAudioRun run(file, 2);
    EXPECT_EQ(run.decoder().getChannels(), 2u);
    run.feedAll(file);
    EXPECT_EQ(run.block().getChannels(), 2u);
    ASSERT_EQ(run.samples.size(), 2 * mono.size());
    for (size_t i = 0; i < mono.size(); ++i) {
      ASSERT_EQ(run.samples[2 * i], mono[i]);
      ASSERT_EQ(run.samples[2 * i + 1], mono[i]);
    }
  }
}

// Whatever a file holds, a decoder of the right family gets through it, and what it can't decode it says.
TEST(DamagedMpegAudio, IsPassedOver) {
  NEED_MEDIA();
  struct Damaged {
    const char* path;
    size_t fewestGood;
  };
  for (const auto& [path, fewestGood] : {Damaged{"derived/broken_bitflip_aac.aac", 80},
                                         {"broken/sample_cbs_truncated.adts", 100},
                                         {"broken/l3-nonstandard-compl-sideinfo-size.bit", 216},
                                         {"broken/l3-nonstandard-compl-sideinfo-blocktype.bit", 215}}) {
    const AudioFile file = readAudio(path);
    ASSERT_FALSE(file.packets.empty()) << path;
    MpegAudioRun run(file);
    run.feedAll(file);
    size_t good = 0, bad = 0;
    for (size_t i = 0; i < run.results.size(); ++i) {
      good += run.counts[i] > 0;
      bad += run.results[i] != 0;
    }
    const std::string log = run.log();
    EXPECT_EQ(static_cast<size_t>(std::count(log.begin(), log.end(), '\n')),
              bad + (file.codec == "mp3" ? 1 : 0))
        << log.substr(0, 1000);
    EXPECT_GE(good, fewestGood) << path;
    std::printf("%s: %zu packets, %zu blocks, %zu refused\n", path, file.packets.size(), good, bad);
  }
}

TEST(DamagedMpegAudio, OfAnotherCodecIsRefused) {
  NEED_MEDIA();
  const AudioFile aac = readAudio("audio/aac/loudsoftaac.aac"), mp3 = readAudio("audio/mp3/monotestmp3.mp3");
  const AudioFile* files[] = {&aac, &mp3};
  for (int i = 0; i < 2; ++i) {
    MpegAudioRun run(*files[i]);
    run.feedAll(*files[1 - i]);
    size_t blocks = 0;
    for (const uint32_t count : run.counts) blocks += count > 0;
    EXPECT_LT(blocks, run.counts.size() / 10) << "case " << i;
    // The family's own packets come out right again.
    run.samples.clear();
    run.feedAll(*files[i]);
    const auto expected = decodeAudio(*files[i]);
    ASSERT_GE(run.samples.size() + 2048, expected.size());
    const size_t tail = expected.size() / 2;
    EXPECT_GE(snrDb(std::span(expected).last(tail), std::span(run.samples).last(tail)), 60) << "case " << i;
  }
}

}  // namespace
}  // namespace qvs::test
