#include <gtest/gtest.h>

#include <numeric>

#include "support/AudioDecoderRun.h"

namespace qvs::test {
namespace {

// The decoder output values of ITU-T G.711 as its tables give them, in steps of 13 and 14 bits: segments
// whose step doubles. Code words go out with even bits (A-law) or all magnitude bits (mu-law) inverted.
int aLawOf(int byte) {
  const int code = byte ^ 0x55, segment = code >> 4 & 7, step = code & 15;
  const int value = segment == 0 ? 2 * step + 1 : (2 * step + 33) << (segment - 1);
  return (code & 0x80 ? value : -value) * 8;
}
int muLawOf(int byte) {
  const int code = byte ^ 0x7F, segment = code >> 4 & 7, step = code & 15;
  const int value = ((2 * step + 33) << segment) - 33;
  return (code & 0x80 ? value : -value) * 4;
}

struct Law {
  const char* codec;
  uint32_t id;
  int (*expected)(int byte);
};

class G711 : public testing::TestWithParam<Law> {
 protected:
  AudioFile file{
      .codec = GetParam().codec, .config = {}, .sampleRate = 8000, .channels = 1, .leadIn = 0, .packets = {}};
  AudioDecoderRun run{makeAudioDecoder(GetParam().codec)};
};

TEST_P(G711, EveryByteExpandsAsTheStandardSays) {
  ASSERT_TRUE(run.open(file));
  EXPECT_EQ(run.decoder().getCodec(), GetParam().id);
  std::vector<uint8_t> bytes(256);
  std::iota(bytes.begin(), bytes.end(), uint8_t{0});
  EXPECT_EQ(run.feed(bytes, 0), 0u);
  ASSERT_EQ(run.samples.size(), 256u);
  for (int byte = 0; byte < 256; ++byte) EXPECT_EQ(run.samples[byte], GetParam().expected(byte)) << byte;
}

TEST_P(G711, FirstFrameNeedsNineBytes) {
  IAudioDecoder& decoder = run.decoder();
  std::vector<uint8_t> format{0xEE, 0, 0, 0x1F, 0x40, 0, 0, 0, 1};
  EXPECT_EQ(decoder.decodeFirstFrame(format.data(), 0, 8), 0u);
  EXPECT_FALSE(decoder.isFirstFrameDecoded());
  EXPECT_EQ(decoder.decodeFirstFrame(format.data(), 0, 9), 0u);
  EXPECT_TRUE(decoder.isFirstFrameDecoded());
  EXPECT_EQ(decoder.getSampleRate(), 8000);
  EXPECT_EQ(decoder.getChannels(), 1u);
  EXPECT_EQ(decoder.decodeCodecConfig(format.data(), 0, 0), 0u);
  EXPECT_EQ(decoder.close(), 0u);
}

TEST_P(G711, BlocksAreRecordedAndAResetKeepsTheStream) {
  ASSERT_TRUE(run.open(file));
  IAudioDecoder& decoder = run.decoder();
  const std::vector<uint8_t> bytes(160, 0x2A);
  run.feed(bytes, 100);
  EXPECT_EQ(decoder.getDecodedSampleSize(), 320u);
  EXPECT_EQ(decoder.getDecodedTimecode(), 800u);
  decoder.resetDecodedFrameState();
  EXPECT_EQ(decoder.getDecodedSampleCount() + decoder.getSampleRate() + decoder.getChannels(), 0u);
  EXPECT_EQ(decoder.getDecodedTimecode(), 0u);
  EXPECT_TRUE(decoder.isFirstFrameDecoded());
  run.feed(bytes, 120);
  EXPECT_EQ(run.codes, (std::vector<uint64_t>{800, 960}));
  EXPECT_EQ(run.block().getSampleRate(), 8000u) << "the stream's format outlives the reset";
  EXPECT_EQ(run.block().getChannels(), 1u);
  EXPECT_EQ(decoder.getFramesDecoded(), 2u);
  run.feed({}, 140);
  EXPECT_EQ(decoder.getFramesDecoded(), 2u) << "no bytes, no block";
  EXPECT_EQ(run.block().getSampleCount(), 0u) << "and none of the old sound again";
}

TEST_P(G711, SeveralChannelsNeverReachPastTheBlock) {
  const auto format = [](uint32_t rate, uint32_t channels) {
    std::vector<uint8_t> bytes{0};
    for (const uint32_t value : {rate, channels}) {
      for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
    }
    return bytes;
  };
  IAudioDecoder& decoder = run.decoder();
  constexpr std::pair<uint32_t, uint32_t> kNoFormats[] = {{8000, 0}, {8000, 256}, {8000, 0xFFFFFFFF}, {0, 1}};
  for (const auto& [rate, channels] : kNoFormats) {
    EXPECT_EQ(decoder.decodeFirstFrame(format(rate, channels).data(), 0, 9), 0xFFFFFFFFu);
    EXPECT_FALSE(decoder.isFirstFrameDecoded());
  }
  std::vector<uint8_t> bytes(3000, 0x44);
  AudioSampleBuffer& block = run.block();
  for (const uint32_t channels : {1u, 2u, 8u, 255u}) {
    ASSERT_EQ(decoder.decodeFirstFrame(format(0xFFFFFFFF, channels).data(), 0, 9), 0u);
    ASSERT_EQ(decoder.decodeFrame(bytes.data(), 0, 3000, 1, block), 0u);
    EXPECT_EQ(block.getSampleCount(), 3000u) << channels << " channels: each byte counts";
    ASSERT_GE(block.getLen(), 3000u * channels * 2);
    const auto* samples = reinterpret_cast<const int16_t*>(block.getBuffer());
    EXPECT_EQ(samples[2999], GetParam().expected(0x44));
    if (channels > 1) {
      EXPECT_EQ(samples[3000], 0);
    }
  }
  bytes.resize(1 << 20);
  EXPECT_EQ(decoder.decodeFrame(bytes.data(), 0, 1 << 20, 1, block), 0xFFFFFFFFu) << "535 MB for one block";
  EXPECT_EQ(block.getSampleCount(), 3000u) << "a failure leaves the block";
}

INSTANTIATE_TEST_SUITE_P(Laws, G711,
                         testing::Values(Law{"pcm_alaw", 7, aLawOf}, Law{"pcm_mulaw", 8, muLawOf}),
                         [](const auto& info) { return std::string(info.param.codec + 4); });

}  // namespace
}  // namespace qvs::test
