// Opus, Vorbis, Speex and PCM: good packets, bad ones, and good ones after bad ones.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>

#include "log/LogCollector.h"
#include "support/AudioDecoderRun.h"
#include "support/CodedAudio.h"

namespace qvs::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr uint32_t kFail = 0xFFFFFFFFu;

uint64_t msOf(const AudioPacket& packet) {
  return static_cast<uint64_t>(packet.timecodeMs);
}

/// A decoder with its log.
struct Logged {
  explicit Logged(const std::string& codec) : run(makeAudioDecoder(codec)) {
    run.decoder().setLogger(&collector);
  }
  uint32_t configure(std::vector<uint8_t> config) {
    return run.decoder().decodeCodecConfig(config.data(), 0, static_cast<uint32_t>(config.size()));
  }
  std::vector<std::string> lines() {
    std::vector<LogStatement> statements;
    collector.getLogStatements(statements);
    std::vector<std::string> texts;
    for (const auto& statement : statements) {
      EXPECT_EQ(statement.contextType, kLogContextAudioDecoder);
      EXPECT_EQ(statement.level, kLogWarn);
      texts.push_back(statement.str);
    }
    return texts;
  }

  LogCollector collector;
  AudioDecoderRun run;
};

class CodedAudio : public testing::TestWithParam<const char*> {
 protected:
  AudioFile file = makeCodedAudio(GetParam());
  AudioDecoderRun run{makeAudioDecoder(GetParam())};
  AudioDecoderRun clean{makeAudioDecoder(GetParam())};

  void SetUp() override {
    ASSERT_GT(file.packets.size(), 20u);
    ASSERT_TRUE(run.open(file));
    ASSERT_TRUE(clean.open(file));
  }

  /// The stream from its start once more: its end, where the codec has forgotten what came before, is as if
  /// nothing had come before.
  void expectStreamComesOutRight(const std::string& after) {
    clean.samples.clear();
    clean.feedAll(file);
    run.samples.clear();
    run.feedAll(file);
    // Of Vorbis the first block may overlap with an older packet; all counts behind it are the same.
    ASSERT_GT(run.samples.size(), clean.samples.size() / 2) << after;
    const size_t tail = clean.samples.size() / 2;
    EXPECT_GT(snrDb(std::span(clean.samples).last(tail), std::span(run.samples).last(tail)), 50) << after;
  }
};

TEST_P(CodedAudio, AudioIsThatOfTheInput) {
  run.feedAll(file);
  const auto audio = makeSamples(file.sampleRate, file.channels, file.sampleRate);
  // Lossy codecs delay by a lead-in: the best offset within it must fit well.
  double best = 0;
  for (size_t lead = 0; lead < 1000 * file.channels; lead += file.channels) {
    best =
        std::max(best, snrDb(std::span(audio).first(audio.size() / 2), std::span(run.samples).subspan(lead)));
  }
  EXPECT_GT(best, file.codec == "speex" ? 3 : 12);
  EXPECT_EQ(run.decoder().getFramesDecoded(), file.packets.size() - (file.codec == "vorbis" ? 1 : 0));
  uint64_t expected = run.codes.front();
  for (size_t i = 0; i < run.counts.size(); ++i) {
    if (run.counts[i] == 0) continue;
    if (expected == 0) expected = run.codes[i];
    EXPECT_EQ(run.codes[i], expected) << "block " << i;
    expected += run.counts[i];
  }
}

// Flipped bits and noise come from the fuzz corpora.
TEST_P(CodedAudio, TruncatedAndForeignPackets) {
  for (size_t index : {1, 7, 12}) {
    const std::span<const uint8_t> whole = file.packets[index].bytes;
    for (size_t keep = 0; keep < whole.size(); ++keep) EXPECT_EQ(run.feed(whole.first(keep), 0), 0u);
  }
  expectStreamComesOutRight("after cut packets");
  for (const char* other : {"opus", "vorbis", "speex"}) {
    for (const auto& packet : makeCodedAudio(other).packets) run.feed(packet.bytes, 0);
  }
  run.feed(std::vector<uint8_t>(70000), 0);
  EXPECT_LE(run.block().getLen(), 16u << 20);
  expectStreamComesOutRight("after other codecs");
}

TEST_P(CodedAudio, EmptyPacketsRecordNothing) {
  run.feed(file.packets[0].bytes, 0);
  run.feed(file.packets[1].bytes, 20);
  const uint32_t frames = run.decoder().getFramesDecoded();
  const uint64_t timecode = run.decoder().getDecodedTimecode();
  EXPECT_EQ(run.decoder().decodeFrame(nullptr, 0, 0, 40, run.block()), 0u);
  EXPECT_EQ(run.feed({}, 60), 0u);
  EXPECT_EQ(run.decoder().getFramesDecoded(), frames);
  EXPECT_EQ(run.decoder().getDecodedTimecode(), timecode);
  EXPECT_EQ(run.block().getSampleCount(), 0u) << "no older sound is offered again";
}

TEST_P(CodedAudio, AResetRecordIsFilledByTheNextBlock) {
  clean.feedAll(file);
  for (const auto& packet : file.packets) {
    run.feed(packet.bytes, msOf(packet));
    run.decoder().resetDecodedFrameState();
    EXPECT_EQ(run.decoder().getSampleRate(), 0);
  }
  EXPECT_EQ(run.block().getSampleRate(), file.sampleRate);
  EXPECT_EQ(run.block().getChannels(), file.channels);
  EXPECT_EQ(run.codes, clean.codes);
}

TEST_P(CodedAudio, AnySizeOfBlockLosesNothing) {
  clean.feedAll(file);
  AudioSampleBuffer block;
  std::vector<int16_t> samples;
  for (const auto& packet : file.packets) {
    // As a resampler leaves a block behind: with the room of what it held last.
    ASSERT_EQ(block.allocBuffer(file.codec == "speex" ? 320 : 100, file.channels, 0), 0u);
    auto bytes = packet.bytes;
    EXPECT_EQ(
        run.decoder().decodeFrame(bytes.data(), 0, static_cast<uint32_t>(bytes.size()), msOf(packet), block),
        0u);
    const auto* begin = reinterpret_cast<const int16_t*>(block.getBuffer());
    samples.insert(samples.end(), begin, begin + size_t{block.getSampleCount()} * file.channels);
  }
  EXPECT_EQ(samples, clean.samples);
}

TEST_P(CodedAudio, SetUpAgainAndUseAfterClose) {
  run.feedAll(file);
  run.samples.clear();
  ASSERT_TRUE(run.open(file)) << "a second initialize";
  expectStreamComesOutRight("after a second set-up");
  run.decoder().close();
  run.decoder().close();
  for (const auto& packet : file.packets) run.feed(packet.bytes, msOf(packet));
  ASSERT_TRUE(run.open(file));
  expectStreamComesOutRight("after a set-up behind close");

  AudioDecoderRun bare(makeAudioDecoder(GetParam()));
  for (const auto& packet : file.packets) bare.feed(packet.bytes, msOf(packet));
  EXPECT_TRUE(bare.samples.empty()) << "nothing was set up";
}

TEST_P(CodedAudio, BadConfigurationsLeaveTheStreamPlaying) {
  for (size_t keep = 0; keep < file.config.size(); keep += 1 + keep / 64) {
    std::vector<uint8_t> cut(file.config.begin(), file.config.begin() + static_cast<ptrdiff_t>(keep));
    run.decoder().decodeCodecConfig(cut.data(), 0, static_cast<uint32_t>(keep));
  }
  EXPECT_NE(run.decoder().decodeCodecConfig(nullptr, 0, 0), 1u);
  expectStreamComesOutRight("after cut configurations");
}

INSTANTIATE_TEST_SUITE_P(Codecs, CodedAudio, testing::Values("opus", "vorbis", "speex", "pcm_s16le"),
                         [](const auto& info) { return std::string(info.param); });

TEST(AudioDecoderOpus, HeadsThatAreRefused) {
  Logged opus("opus");
  EXPECT_EQ(opus.configure({}), kFail);
  auto head = makeOpusHead(48000, 2);
  head.resize(16);
  EXPECT_EQ(opus.configure(head), kFail);
  EXPECT_EQ(opus.configure(makeOpusHead(48000, 255)), kFail);
  EXPECT_EQ(opus.configure(makeOpusHead(48000, 0)), kFail);
  head = makeOpusHead(48000, 2);
  head[0] = 'o';
  EXPECT_EQ(opus.configure(head), kFail);
  EXPECT_THAT(
      opus.lines(),
      ElementsAre("AudioDecoderOpus::decodeCodecConfig[{context}]: OpusHead is missing: len:0",
                  "AudioDecoderOpus::decodeCodecConfig[{context}]: OpusHead is missing: len:16",
                  "AudioDecoderOpus::decodeCodecConfig[{context}]: Invalid number of channels (>2):"
                  " channels:255",
                  "AudioDecoderOpus::decodeCodecConfig[{context}]: Invalid number of channels: channels:0",
                  "AudioDecoderOpus::decodeCodecConfig[{context}]: OpusHead is missing: len:19"));
  // Family 255: two streams of one channel, channels exchanged, a table cut short; then one stream in place.
  head = makeOpusHead(48000, 2);
  head[18] = 255;
  for (const std::vector<uint8_t>& table :
       {std::vector<uint8_t>{2, 0, 0, 1}, {1, 1, 1, 0}, {1, 1, 0}, {1, 1, 0, 1}}) {
    auto mapped = head;
    mapped.insert(mapped.end(), table.begin(), table.end());
    EXPECT_EQ(opus.configure(mapped), table == std::vector<uint8_t>({1, 1, 0, 1}) ? 0 : kFail);
  }
  EXPECT_THAT(opus.lines(), testing::SizeIs(3));
}

TEST(AudioDecoderOpus, AFirstFrameWithoutAHeadIsTold) {
  Logged opus("opus");
  uint8_t packet[4] = {};
  EXPECT_EQ(opus.run.decoder().decodeFirstFrame(packet, 0, 4), 0u);
  EXPECT_TRUE(opus.run.decoder().isFirstFrameDecoded());
  EXPECT_THAT(opus.lines(), ElementsAre(HasSubstr("No audio before a codec configuration")));
}

TEST(AudioDecoderOpus, EveryRateOfTheHeadPlays) {
  const AudioFile file = makeOpus(2);
  for (uint32_t rate : {0u, 1u, 8000u, 12000u, 16000u, 24000u, 44100u, 48000u, 192000u, 0xFFFFFFFFu}) {
    const bool served = rate == 8000 || rate == 12000 || rate == 16000 || rate == 24000;
    AudioFile told = file;
    told.config = makeOpusHead(rate, 2);
    AudioDecoderRun run(makeAudioDecoder("opus"));
    ASSERT_TRUE(run.open(told)) << rate;
    const uint32_t played = served ? rate : 48000;
    EXPECT_EQ(run.decoder().getSampleRate(), static_cast<int32_t>(played));
    run.feedAll(told);
    EXPECT_EQ(run.samples.size(), size_t{played} * 2) << "one second";
    EXPECT_EQ(run.codes.back(), played * 49 / 50);
    EXPECT_EQ(run.block().getSampleRate(), played);
  }
}

TEST(AudioDecoderOpus, HeadsInMidStream) {
  const AudioFile file = makeOpus(2);
  AudioDecoderRun run(makeAudioDecoder("opus")), plain(makeAudioDecoder("opus"));
  ASSERT_TRUE(run.open(file) && plain.open(file));
  const auto configure = [&](std::vector<uint8_t> head) {
    return run.decoder().decodeCodecConfig(head.data(), 0, static_cast<uint32_t>(head.size()));
  };
  plain.feedAll(file);
  for (const auto& packet : file.packets) {
    ASSERT_EQ(configure(file.config), 0u);
    run.feed(packet.bytes, msOf(packet));
  }
  EXPECT_EQ(run.samples, plain.samples) << "the same head again disturbs nothing";

  run.samples.clear();
  ASSERT_EQ(configure(makeOpusHead(48000, 1)), 0u);
  run.feedAll(file);
  EXPECT_EQ(run.block().getChannels(), 1u);
  EXPECT_EQ(run.samples.size(), 48000u) << "one channel from here on";

  ASSERT_EQ(configure(makeOpusHead(48000, 2, -1541)), 0u);
  run.samples.clear();
  run.feedAll(file);
  double loud = 0, soft = 0;
  for (const int16_t sample : plain.samples) loud += double(sample) * sample;
  for (const int16_t sample : run.samples) soft += double(sample) * sample;
  EXPECT_NEAR(10 * std::log10(soft / loud), -1541 / 256.0, 0.05) << "the head's gain";
}

TEST(AudioDecoderPCM, TakesWhatEightBytesSay) {
  Logged pcm("pcm_s16le");
  const auto prefix = std::string("AudioDecoderPCM.decodeCodecConfig[{context}]: ");
  EXPECT_EQ(pcm.run.decoder().decodeFirstFrame(nullptr, 0, 0), kFail) << "no configuration yet";
  EXPECT_EQ(pcm.run.feed(std::vector<uint8_t>(8), 0), kFail);
  EXPECT_EQ(pcm.lines().size(), 2u);
  constexpr std::pair<uint32_t, uint32_t> kNoFormats[] = {{0, 2},     {768001, 2}, {0xFFFFFFFF, 1},
                                                          {48000, 0}, {48000, 17}, {48000, 0x80000001}};
  for (const auto& [rate, channels] : kNoFormats) {
    EXPECT_EQ(pcm.configure(makePcmConfig(rate, channels)), kFail);
    EXPECT_THAT(pcm.lines(), ElementsAre(prefix + "Invalid format: sampleRate:" + std::to_string(rate) +
                                         " channels:" + std::to_string(channels)));
  }
  auto longer = makePcmConfig(48000, 2);
  longer.push_back(0);
  EXPECT_EQ(pcm.configure(longer), kFail);
  EXPECT_THAT(pcm.lines(), ElementsAre(prefix + "Configuration must have 8 bytes: len:9"));
  EXPECT_FALSE(pcm.run.decoder().isFirstFrameDecoded());
  for (const auto& [rate, channels] : {std::pair{1u, 1u}, {8000u, 3u}, {768000u, 16u}}) {
    std::vector<uint8_t> bytes(channels * 64);
    std::iota(bytes.begin(), bytes.end(), uint8_t{7});
    ASSERT_EQ(pcm.configure(makePcmConfig(rate, channels)), 0u);
    ASSERT_EQ(pcm.run.feed(bytes, 0), 0u);
    EXPECT_EQ(pcm.run.block().getSampleRate(), rate);
    EXPECT_EQ(pcm.run.block().getChannels(), channels);
    EXPECT_EQ(pcm.run.block().getSampleCount(), 32u);
    EXPECT_EQ(std::memcmp(pcm.run.block().getBuffer(), bytes.data(), bytes.size()), 0);
  }
}

TEST(AudioDecoderPCM, ARestIsToldAndTheCountFollowsTheClock) {
  Logged pcm("pcm_s16le");
  ASSERT_EQ(pcm.configure(makePcmConfig(44100, 6)), 0u);
  const auto feed = [&](uint32_t bytes, uint64_t ms) {
    EXPECT_EQ(pcm.run.feed(std::vector<uint8_t>(bytes, 1), ms), 0u);
    return pcm.run.codes.back();
  };
  EXPECT_EQ(feed(12 * 1024, 1000), 44100u);
  EXPECT_EQ(feed(12 * 1024 + 11, 1024), 45124u) << "contiguous within a millisecond";
  EXPECT_EQ(pcm.run.counts.back(), 1024u) << "the whole samples in front of the rest";
  EXPECT_EQ(feed(11, 1047), 45124u) << "no block";
  EXPECT_EQ(pcm.run.counts.back(), 0u);
  EXPECT_EQ(feed(12, 1047), 46148u) << "where it would have been without that";
  EXPECT_EQ(feed(12, 1100), 48510u) << "a jump";
  const auto prefix =
      std::string("AudioDecoderPCM.decodeFrame[{context}]: 11 bytes are no whole sample of 6 ");
  EXPECT_THAT(pcm.lines(), ElementsAre(prefix + "channels: len:12299", prefix + "channels: len:11"));
  EXPECT_EQ(pcm.run.feed(std::vector<uint8_t>((16u << 20) + 8), 0), kFail);
  EXPECT_THAT(pcm.lines(), ElementsAre(HasSubstr("No room for the block")));
}

TEST(AudioDecoderVorbis, ConfigurationsThatAreRefused) {
  Logged vorbis("vorbis");
  const auto prefix = std::string("AudioDecoderVorbis.decodeCodecConfig[{context}]: ");
  EXPECT_EQ(vorbis.configure({2, 30, 44}), kFail);
  EXPECT_THAT(vorbis.lines(), ElementsAre());
  auto config = makeVorbis(44100, 1).config;
  const int64_t first = config[1], second = config[2],
                third = static_cast<int64_t>(config.size()) - first - second - 3;
  ASSERT_LT(second, 255);
  auto lying = config;
  lying[2] = 0;
  EXPECT_EQ(vorbis.configure(lying), kFail);
  lying = config;
  lying.resize(static_cast<size_t>(first + second + 3));
  EXPECT_EQ(vorbis.configure(lying), kFail);
  lying = config;
  lying[1] = 31;
  EXPECT_EQ(vorbis.configure(lying), kFail);
  const auto lengths = [&](int64_t l1, int64_t l2, int64_t l3) {
    return prefix + "Header length is zero: " + std::to_string(l1) + ":" + std::to_string(l2) + ":" +
           std::to_string(l3);
  };
  EXPECT_THAT(vorbis.lines(),
              ElementsAre(lengths(first, 0, third + second), lengths(first, second, 0),
                          prefix + "Header decode failed: 1 length:" + std::to_string(second) + " ret:-132"));
  for (size_t at : {14u, 15u}) {  // no channel; a rate of 0 Hz
    lying = config;
    std::fill_n(lying.begin() + static_cast<ptrdiff_t>(at), at == 14 ? 1 : 4, uint8_t{0});
    EXPECT_EQ(vorbis.configure(lying), kFail);
  }
  EXPECT_EQ(vorbis.run.feed(makeVorbis(44100, 1).packets[0].bytes, 0), kFail) << "no configuration yet";
  EXPECT_EQ(vorbis.configure(config), 0u);
  EXPECT_EQ(vorbis.run.feed(makeVorbis(44100, 1).packets[0].bytes, 0), 0u);
}

TEST(AudioDecoderVorbis, ChannelsLeaveInTheOrderOfTheirMask) {
  struct Layout {
    std::vector<std::string> coded, mask;
  };
  const Layout layouts[] = {
      {{"L", "C", "R"}, {"L", "R", "C"}},
      {{"L", "R", "Ls", "Rs"}, {"L", "R", "Ls", "Rs"}},
      {{"L", "C", "R", "Ls", "Rs"}, {"L", "R", "C", "Ls", "Rs"}},
      {{"L", "C", "R", "Ls", "Rs", "LFE"}, {"L", "R", "C", "LFE", "Ls", "Rs"}},
      {{"L", "C", "R", "SL", "SR", "B", "LFE"}, {"L", "R", "C", "LFE", "B", "SL", "SR"}},
      {{"L", "C", "R", "SL", "SR", "BL", "BR", "LFE"}, {"L", "R", "C", "LFE", "BL", "BR", "SL", "SR"}},
  };
  const auto channelOf = [](const std::vector<int16_t>& samples, size_t channels, size_t channel) {
    std::vector<int16_t> one;
    for (size_t i = 1000; i < 6000; ++i) one.push_back(samples[i * channels + channel]);
    return one;
  };
  for (const Layout& layout : layouts) {
    const auto channels = static_cast<uint32_t>(layout.coded.size());
    const AudioFile file = makeVorbis(16000, channels);
    const auto input = makeSamples(16000, channels, 16000);
    AudioDecoderRun run(makeAudioDecoder("vorbis"));
    ASSERT_TRUE(run.open(file)) << channels;
    run.feedAll(file);
    for (size_t at = 0; at < channels; ++at) {
      const auto source =
          static_cast<size_t>(std::ranges::find(layout.coded, layout.mask[at]) - layout.coded.begin());
      EXPECT_GT(snrDb(channelOf(input, channels, source), channelOf(run.samples, channels, at)), 6)
          << layout.mask[at] << " of " << channels;
    }
  }
}

TEST(AudioDecoderVorbis, TheSameHeadersAgainDisturbNothing) {
  const AudioFile file = makeVorbis(44100, 2);
  AudioDecoderRun run(makeAudioDecoder("vorbis")), plain(makeAudioDecoder("vorbis"));
  ASSERT_TRUE(run.open(file) && plain.open(file));
  plain.feedAll(file);
  auto config = file.config;
  for (const auto& packet : file.packets) {
    ASSERT_EQ(run.decoder().decodeCodecConfig(config.data(), 0, static_cast<uint32_t>(config.size())), 0u);
    run.feed(packet.bytes, msOf(packet));
  }
  EXPECT_EQ(run.samples, plain.samples);
}

TEST(AudioDecoderVorbis, ALongCommentComesInXiphLacing) {
  const AudioFile file = makeVorbis(44100, 2);
  AudioDecoderRun plain(makeAudioDecoder("vorbis")), run(makeAudioDecoder("vorbis"));
  ASSERT_TRUE(plain.open(file));
  plain.feedAll(file);
  const size_t first = file.config[1], second = file.config[2];
  const auto begin = file.config.begin() + 3, third = begin + static_cast<ptrdiff_t>(first + second);
  for (size_t vendor : {237u, 238u, 239u, 600u}) {  // the comment header is 16 bytes longer: 253, 254, 255...
    const size_t comment = 7 + 4 + vendor + 4 + 1;
    std::vector<uint8_t> config{2, static_cast<uint8_t>(first)};
    for (size_t i = 0; i < comment / 255; ++i) config.push_back(255);
    config.push_back(static_cast<uint8_t>(comment % 255));
    config.insert(config.end(), begin, begin + static_cast<ptrdiff_t>(first));
    for (char c : std::string("\3vorbis")) config.push_back(static_cast<uint8_t>(c));
    config.insert(config.end(), {static_cast<uint8_t>(vendor), static_cast<uint8_t>(vendor >> 8), 0, 0});
    config.insert(config.end(), vendor, 'v');
    config.insert(config.end(), {0, 0, 0, 0, 1});
    config.insert(config.end(), third, file.config.end());
    AudioFile told = file;
    told.config = config;
    ASSERT_TRUE(run.open(told)) << vendor;
    run.samples.clear();
    run.feedAll(file);
    EXPECT_EQ(run.samples, plain.samples);
  }
}

TEST(AudioDecoderSpeex, HeadersTellTheMode) {
  const AudioFile file = makeSpeex(1);
  Logged speex("speex");
  ASSERT_EQ(speex.run.decoder().initialize(), 0u);
  EXPECT_EQ(speex.configure({}), 0u) << "no header, nothing to refuse";
  EXPECT_EQ(speex.configure(makeSpeexHeader(1, 16000)), 0u);
  EXPECT_EQ(speex.configure(makeSpeexHeader(2, 32000)), 0u);
  EXPECT_THAT(speex.lines(), ElementsAre());
  ASSERT_TRUE(speex.run.open(file));

  EXPECT_EQ(speex.configure(makeSpeexHeader(0, 8000)), kFail);
  EXPECT_THAT(speex.lines(), ElementsAre("AudioDecoderSpeex.decodeCodecConfig[{context}]: Only wideband is"
                                         " supported: mode:0 sampleRate:8000"));
  EXPECT_EQ(speex.run.feed(file.packets[0].bytes, 0), kFail);
  EXPECT_THAT(speex.lines(), ElementsAre()) << "one line for the stream";
  EXPECT_EQ(speex.run.feed(makeSpeexHeader(1, 16000), 0), 0u) << "a header among the packets";
  EXPECT_EQ(speex.run.feed(file.packets[0].bytes, 0), 0u);
  EXPECT_EQ(speex.run.samples.size(), 320u);
  EXPECT_EQ(speex.run.feed(makeSpeexHeader(0x80000000u, 0), 0), kFail);
}

TEST(AudioDecoderSpeex, ABlockBelowOneFrameGivesNoAudio) {
  const AudioFile file = makeSpeex(4);
  AudioDecoderRun run(makeAudioDecoder("speex"));
  ASSERT_TRUE(run.open(file));
  AudioSampleBuffer block;
  block.allocBuffer(319, 1, 16000);
  auto bytes = file.packets[0].bytes;
  EXPECT_EQ(run.decoder().decodeFrame(bytes.data(), 0, static_cast<uint32_t>(bytes.size()), 0, block), 0u);
  EXPECT_EQ(block.getSampleCount(), 0u);
  EXPECT_EQ(run.decoder().getFramesDecoded(), 0u);
  run.feed(bytes, 0);
  EXPECT_EQ(run.samples.size(), 4u * 320) << "all frames of a packet";
}

}  // namespace
}  // namespace qvs::test
