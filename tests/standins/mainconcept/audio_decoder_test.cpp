// The audio decoder libraries by their own interface.

#include <gtest/gtest.h>
#include <mc_dec_aac.h>
#include <mc_dec_mpa.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "audio/SampleWriter.h"

namespace {

struct Close {
  void operator()(bufstream_tt* stream) const {
    stream->done(stream, 0);
    stream->free(stream);
  }
};
using Stream = std::unique_ptr<bufstream_tt, Close>;

uint32_t command(const Stream& stream, uint32_t code, void* info = nullptr, uint32_t size = 0) {
  return stream->auxinfo(stream.get(), 0, code, info, size);
}

const mc_aud_frame_hdr_t* headerOf(const Stream& stream) {
  const mc_aud_frame_hdr_t* header = nullptr;
  command(stream, GET_PIC_PARAMSP, &header, sizeof header);
  return header;
}

/// A frame of layer II silence: mono, 48000 Hz, 32 kbit/s, 1152 samples.
std::vector<uint8_t> silence() {
  std::vector<uint8_t> frame(96);
  frame[0] = 0xFF;
  frame[1] = 0xFD;
  frame[2] = 0x14;
  frame[3] = 0xC0;
  return frame;
}

uint32_t feed(const Stream& stream, std::vector<uint8_t> bytes) {
  return stream->copybytes(stream.get(), bytes.data(), static_cast<uint32_t>(bytes.size()));
}

TEST(AudioDecoderLibrary, UnknownCommandsAndRecordsAreRefused) {
  const Stream aac(createDecoderAAC(nullptr, 0, 0)), mpa(createDecoderMpegAudio(nullptr, 0, 0));
  ASSERT_TRUE(aac && mpa);
  aac_decoder_config config{};
  mpa_decoder_config mpaConfig{};
  aud_bfr_tt target{};
  EXPECT_EQ(command(aac, INIT_FRAME_PARSER, &config, sizeof config), 0u);
  config.bitstream_format = 3;
  EXPECT_NE(command(aac, INIT_FRAME_PARSER, &config, sizeof config), 0u) << "a format that isn't served";
  EXPECT_NE(command(aac, INIT_FRAME_PARSER, &config, 12), 0u);
  EXPECT_EQ(command(mpa, PARSE_INIT, &mpaConfig, sizeof mpaConfig), 0u);
  EXPECT_NE(command(mpa, PARSE_INIT, &config, sizeof config), 0u) << "the other family's record";
  EXPECT_EQ(command(mpa, INIT_FRAME_PARSER), 0u);
  EXPECT_NE(command(mpa, PARSE_FRAMES, nullptr, sizeof target), 0u);
  EXPECT_NE(command(mpa, PARSE_FRAMES, &target, 8), 0u);
  EXPECT_NE(command(mpa, PARSE_OPTIONS), 0u);
  EXPECT_NE(command(mpa, 12345, &target, sizeof target), 0u);
  EXPECT_EQ(headerOf(mpa), nullptr) << "none before the first frame";
  EXPECT_EQ(mpa->copybytes(mpa.get(), nullptr, 100), 0u);
}

TEST(AudioDecoderLibrary, ABlockWaitsForRoom) {
  const Stream mpa(createDecoderMpegAudio(nullptr, 0, 0));
  std::vector<uint8_t> memory(2304 + 16, 0xAA);
  aud_bfr_tt target{memory.data(), 2303};
  command(mpa, PARSE_FRAMES, &target, sizeof target);
  for (bool fetch : {true, false}) {
    target.bfr_size = 2303;
    EXPECT_EQ(feed(mpa, silence()), 96u);
    EXPECT_EQ(target.bfr_size, 0u);
    EXPECT_EQ(command(mpa, GET_PARSE_STATE), static_cast<uint32_t>(AUD_NO_ROOM_FLAG));
    EXPECT_EQ(headerOf(mpa)->samples, 1152u);
    target.bfr_size = 2304;
    // Other bytes end a block that waits, and bring their own.
    EXPECT_EQ(feed(mpa, fetch ? std::vector<uint8_t>() : silence()), fetch ? 0u : 96u);
    EXPECT_EQ(target.bfr_size, 2304u);
    EXPECT_EQ(command(mpa, CLEAN_PARSE_STATE), static_cast<uint32_t>(PARSE_DONE_FLAG));
    EXPECT_EQ(command(mpa, GET_PARSE_STATE), 0u);
    EXPECT_EQ(memory[2303], 0);
    EXPECT_EQ(memory[2304], 0xAA);
  }
}

TEST(SampleWriter, RoundsClampsAndSilencesWhatIsNoNumber) {
  const float infinity = std::numeric_limits<float>::infinity(), none = std::nanf("");
  constexpr float kStep = 1.0f / 32768;
  const std::vector<float> values{0.0f,  0.4f * kStep, 0.6f * kStep, -0.6f * kStep,    1.0f,  -1.0f,
                                  2.5f,  -2.5f,        infinity,     -infinity,        none,  0.5f,
                                  -0.5f, 1e30f,        -1e30f,       32766.6f * kStep, -none, 1.5f * kStep};
  const std::vector<int16_t> expected{0,      0, 1,     -1,     32767, -32768, 32767, -32768, 32767,
                                      -32768, 0, 16384, -16384, 32767, -32768, 32767, 0,      2};
  const auto count = static_cast<uint32_t>(values.size());
  for (uint32_t channels : {1u, 2u, 3u, 8u}) {
    std::vector<std::vector<float>> planes(channels, values);
    std::vector<const float*> pointers;
    for (uint32_t c = 0; c < channels; ++c) {
      planes[c][0] = static_cast<float>(c + 1) * kStep;
      pointers.push_back(planes[c].data());
    }
    std::vector<int16_t> written(size_t{count} * channels + 1, 77);
    qvs::mc::writeSamples(pointers.data(), channels, count, written.data());
    for (uint32_t c = 0; c < channels; ++c) {
      EXPECT_EQ(written[c], static_cast<int16_t>(c + 1)) << "channel order";
      for (uint32_t i = 1; i < count; ++i) {
        ASSERT_EQ(written[i * channels + c], expected[i]) << i << " of " << channels;
      }
    }
    EXPECT_EQ(written.back(), 77);
  }
}

}  // namespace
