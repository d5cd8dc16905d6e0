#include "audio/AudioEncoderVorbis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ogg/ogg.h>

#include <fmt/format.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "AudioBlocks.h"
#include "log/LogCollector.h"
#include "SampleBlocks.h"

namespace qvs {
namespace {

using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct OggPage {
  int64_t granule;
  int packets;
  bool first;
  size_t bytes;
};

/// Pages as libogg finds them, which checks each one's sum; -1 in `lost` bytes where it had to search.
std::vector<OggPage> pagesOf(const std::vector<uint8_t>& bytes, int* lost) {
  ogg_sync_state sync;
  ogg_sync_init(&sync);
  std::memcpy(ogg_sync_buffer(&sync, static_cast<long>(bytes.size())), bytes.data(), bytes.size());
  ogg_sync_wrote(&sync, static_cast<long>(bytes.size()));
  std::vector<OggPage> pages;
  ogg_page page;
  *lost = 0;
  while (int result = ogg_sync_pageout(&sync, &page)) {
    if (result < 0) {
      ++*lost;
    } else {
      pages.push_back({ogg_page_granulepos(&page), ogg_page_packets(&page), ogg_page_bos(&page) != 0,
                       static_cast<size_t>(page.header_len + page.body_len)});
    }
  }
  ogg_sync_clear(&sync);
  return pages;
}

class VorbisEncoder : public testing::Test {
 protected:
  VorbisEncoder() { setUp(48000, 2, 192000); }

  void setUp(uint32_t sampleRate, uint32_t channels, uint32_t bitrate) {
    encoder = std::make_unique<AudioEncoderVorbis>();
    encoder->setLogger(&log);
    encoder->setSampleRate(sampleRate);
    encoder->setChannels(channels);
    encoder->setBitrate(bitrate);
  }

  /// Headers and frames as one file.
  std::vector<uint8_t> fileOf(const std::vector<Unit>& units) {
    std::vector<uint8_t> bytes = joined(headersOf(*encoder));
    const auto frames = joined(units);
    bytes.insert(bytes.end(), frames.begin(), frames.end());
    return bytes;
  }

  LogCollector log;
  std::unique_ptr<AudioEncoderVorbis> encoder;
};

TEST_F(VorbisEncoder, LimitsTheBitrateByRateAndChannels) {
  struct Case {
    uint32_t sampleRate, channels, wanted, given;
  };
  constexpr Case kCases[] = {
      {44100, 1, 200000, 128000}, {48000, 2, 50000, 96000},   {8000, 1, 1, 8000},
      {8000, 2, 99000, 32000},    {11025, 1, 1, 24000},       {22050, 2, 1, 64000},
      {24000, 1, 99000, 80000},   {32000, 2, 300000, 224000}, {48000, 1, 160000, 160000},
      {96000, 2, 400000, 256000}, {96000, 1, 1, 48000},
  };
  for (const Case& c : kCases) {
    setUp(c.sampleRate, c.channels, c.wanted);
    EXPECT_EQ(encoder->initialize(), 0u);
    EXPECT_EQ(encoder->getBitrate(), c.given) << c.sampleRate << " Hz, channels " << c.channels;
    const std::string line = fmt::format(
        "AudioEncoderVorbis.initialize[{{context}}]: Bitrate is too {} for sample rate. Bitrate adjust from "
        "{} to {}",
        c.wanted > c.given ? "high" : "low", c.wanted, c.given);
    const auto texts = linesOf(log);
    EXPECT_EQ(std::count(texts.begin(), texts.end(), line), c.wanted != c.given);
  }
}

TEST_F(VorbisEncoder, ARefusedSetUpSaysWhyAndDropsBlocks) {
  for (const auto& [rate, channels] : {std::pair{1u, 2u}, {4000000000u, 2u}, {48000u, 0u}}) {
    setUp(rate, channels, 100000);
    EXPECT_EQ(encoder->initialize(), 0u);
    EXPECT_THAT(linesOf(log),
                Contains(AllOf(HasSubstr("AudioEncoderVorbis.initialize[{context}]: Failure [OV_E"),
                               HasSubstr(fmt::format(": channels:{} sampleRate:{}", channels, rate)))));
    std::vector<AudioFrameEncoded> frames;
    EXPECT_EQ(encoder->addSampleBuffer(makeBlock(makeSweep(48000, 2, 960), 0, 960, 0), frames), 0xFFFFFFFFu);
    EXPECT_THAT(frames, IsEmpty());
    EXPECT_THAT(headersOf(*encoder), IsEmpty());
  }
}

TEST_F(VorbisEncoder, HeadersAreAPageAndThePartsOfAnother) {
  ASSERT_EQ(encoder->initialize(), 0u);
  const auto headers = headersOf(*encoder);
  ASSERT_EQ(headers.size(), 3u);
  int lost = 0;
  const auto pages = pagesOf(joined(headers), &lost);
  EXPECT_EQ(lost, 0);
  ASSERT_EQ(pages.size(), 2u);
  EXPECT_TRUE(pages[0].first);
  EXPECT_EQ(pages[0].packets, 1);
  EXPECT_EQ(pages[1].packets, 2);
  EXPECT_EQ(headers[0].bytes.size(), pages[0].bytes);
  EXPECT_EQ(std::string(headers[1].bytes.begin(), headers[1].bytes.begin() + 4), "OggS");
  EXPECT_EQ(headers[1].bytes.size() + headers[2].bytes.size(), pages[1].bytes);
  EXPECT_EQ(std::string(headers[2].bytes.begin() + 1, headers[2].bytes.begin() + 7), "vorbis");
  const std::string comment(headers[2].bytes.begin(), headers[2].bytes.end());
  EXPECT_THAT(comment, HasSubstr("ENCODER=Zarvo Vorbis Encode"));
}

TEST_F(VorbisEncoder, FramesAreWholePagesWhoseTimecodesFollowTheirGranules) {
  for (const std::vector<size_t>& sizes : {std::vector<size_t>{1024}, {100, 3000}, {96000}, {3, 1, 2}}) {
    ASSERT_EQ(encoder->initialize(), 0u);
    const auto units = encodeAll(*encoder, makeSweep(48000, 2, 96000), sizes, 1234567);
    ASSERT_FALSE(units.empty());
    for (const Unit& unit : units) {
      int lost = 0;
      const auto pages = pagesOf(unit.bytes, &lost);
      EXPECT_EQ(lost, 0);
      ASSERT_EQ(pages.size(), 1u);
      EXPECT_EQ(pages[0].bytes, unit.bytes.size());
      EXPECT_EQ(unit.timecode, 1234567u + static_cast<uint64_t>(pages[0].granule));
      EXPECT_EQ(unit.channels, 2u);
      EXPECT_EQ(unit.sampleRate, 48000u);
    }
    EXPECT_GT(units.back().timecode, 1234567u + 96000 - 4096)
        << "the codec holds back two long blocks at most";
  }
}

TEST_F(VorbisEncoder, AGapInTheInputShowsInTheTimecodes) {
  ASSERT_EQ(encoder->initialize(), 0u);
  const AudioClip clip = makeSweep(48000, 2, 48000);
  std::vector<AudioFrameEncoded> frames;
  for (size_t i = 0; i < 48; ++i) {
    encoder->addSampleBuffer(makeBlock(clip, i * 1000, 1000, i * 1000 + (i < 24 ? 0 : 480000)), frames);
  }
  int lost = 0;
  for (const Unit& unit : takeUnits(frames)) {
    const auto granule = static_cast<uint64_t>(pagesOf(unit.bytes, &lost)[0].granule);
    EXPECT_EQ(unit.timecode, granule < 24000 ? granule : granule + 480000);
  }
}

TEST_F(VorbisEncoder, HeadersAndFramesPlayAsOneStreamWithTheAudioInPlace) {
  ASSERT_EQ(encoder->initialize(), 0u);
  const AudioClip clip = makeSweep(48000, 2, 96000);
  int64_t start = -1;
  const AudioClip decoded = decodeFile(fileOf(encodeAll(*encoder, clip, {1024})), "ogg", &start);
  EXPECT_EQ(start, -128) << "of the first packet, which gives nothing; the audio starts at 0";
  EXPECT_EQ(decoded.channels, 2u);
  EXPECT_GT(decoded.length(), 96000u - 4096);
  EXPECT_GT(snrDb(clip, decoded, 0, 90000), 15.0) << "from the first sample on";
  for (size_t at : {3000u, 40001u}) {
    ASSERT_EQ(encoder->initialize(), 0u);
    const auto units = encodeAll(*encoder, makeClick(48000, 2, 96000, at), {441});
    EXPECT_NEAR(static_cast<double>(peakOf(decodeFile(fileOf(units), "ogg"))), static_cast<double>(at), 4);
  }
}

TEST_F(VorbisEncoder, TakesTheFirstTwoChannelsAndDoublesASingleOne) {
  const AudioClip six = makeClip(48000, 6, 20000, [](size_t i, uint32_t channel) {
    return channel < 2 ? 0.3 * std::sin(static_cast<double>(i) * 0.03 * (channel + 1)) : 0.9;
  });
  setUp(48000, 6, 192000);
  ASSERT_EQ(encoder->initialize(), 0u);
  const auto units = encodeAll(*encoder, six, {1024});
  EXPECT_EQ(units.front().channels, 6u) << "the block's own";
  const AudioClip decoded = decodeFile(fileOf(units), "ogg");
  ASSERT_EQ(decoded.channels, 2u);
  const AudioClip two = makeClip(48000, 2, 20000, [](size_t i, uint32_t channel) {
    return 0.3 * std::sin(static_cast<double>(i) * 0.03 * (channel + 1));
  });
  EXPECT_GT(snrDb(two, decoded, 0, 15000), 15.0);
  const auto tone = [](size_t i, uint32_t) { return 0.3 * std::sin(static_cast<double>(i) * 0.03); };
  setUp(48000, 2, 192000);
  ASSERT_EQ(encoder->initialize(), 0u);
  const AudioClip doubled =
      decodeFile(fileOf(encodeAll(*encoder, makeClip(48000, 1, 20000, tone), {1024})), "ogg");
  EXPECT_GT(snrDb(makeClip(48000, 2, 20000, tone), doubled, 0, 15000), 15.0);
}

TEST_F(VorbisEncoder, AnUnmanagedRateStillComesOutRight) {
  const AudioClip clip = makeSweep(48000, 2, 48000);
  ASSERT_EQ(encoder->initialize(), 0u);
  const auto managed = encodeAll(*encoder, clip, {1024});
  encoder->setParameterValue(AudioEncoderVorbis::kKeyUnmanaged, int64_t{1});
  ASSERT_EQ(encoder->initialize(), 0u);
  const auto units = encodeAll(*encoder, clip, {1024});
  EXPECT_NE(joined(units), joined(managed));
  EXPECT_GT(snrDb(clip, decodeFile(fileOf(units), "ogg"), 0, 40000), 15.0);
}

TEST_F(VorbisEncoder, AFullTimecodeListIsToldOnce) {
  ASSERT_EQ(encoder->initialize(), 0u);
  linesOf(log);
  const AudioClip clip = makeSweep(48000, 2, 1100);
  std::vector<AudioFrameEncoded> frames;
  for (size_t i = 0; i < 1100; ++i) encoder->addSampleBuffer(makeBlock(clip, i, 1, i * 10), frames);
  EXPECT_THAT(frames, IsEmpty());
  EXPECT_THAT(linesOf(log),
              ElementsAre("AudioEncoderVorbis.addSampleBuffer[{context}]: Timecode list is full. "
                          "Encoder must be stopped for unknown reason."));
  ASSERT_EQ(encoder->initialize(), 0u);
  EXPECT_FALSE(encodeAll(*encoder, makeSweep(48000, 2, 9600), {960}).empty());
}

}  // namespace
}  // namespace qvs
