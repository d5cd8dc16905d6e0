#include <gtest/gtest.h>
#include <mc_enc_aac.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr uint32_t kRate = 44100;
constexpr uint32_t kFrame = 1024;

/// A stream that keeps frames apart and what was told of each.
struct Sink {
  std::vector<uint8_t> bytes;
  std::vector<std::vector<uint8_t>> frames;
  std::vector<mc_a_au_struct_t> told;
  uint32_t room = 8192;
  bufstream_tt stream{};

  Sink() {
    stream.Buf_IO_struct = this;
    stream.chunksize = [](bufstream_tt* s) { return of(s).room - static_cast<uint32_t>(of(s).bytes.size()); };
    stream.copybytes = [](bufstream_tt* s, uint8_t* data, uint32_t size) {
      of(s).bytes.insert(of(s).bytes.end(), data, data + size);
      return size;
    };
    stream.auxinfo = [](bufstream_tt* s, uint32_t, uint32_t code, void* info, uint32_t size) -> uint32_t {
      EXPECT_EQ(code, uint32_t{AUDIO_AU_CODE});
      EXPECT_EQ(size, sizeof(mc_a_au_struct_t));
      of(s).told.push_back(*static_cast<const mc_a_au_struct_t*>(info));
      of(s).frames.push_back(std::move(of(s).bytes));
      of(s).bytes.clear();
      return 0;
    };
  }
  static Sink& of(bufstream_tt* s) { return *static_cast<Sink*>(s->Buf_IO_struct); }
};

class AacOut : public testing::Test {
 protected:
  AacOut() {
    EXPECT_NE(aacOutAudioDefaults(&settings, 0), nullptr);
    for (uint32_t i = 0; i < pcm.size() / 2; ++i) {
      pcm[2 * i] = static_cast<int16_t>(9000 * std::sin(i * 0.07));
      pcm[2 * i + 1] = static_cast<int16_t>(9000 * std::sin(i * 0.02));
    }
  }

  /// `samples` in pieces of `piece` bytes, ended with `abort`.
  void encode(Sink& sink, uint32_t samples, uint32_t piece, int32_t abort) {
    aacaenc_tt* encoder = aacOutAudioNew(nullptr, &settings, 0, 0, kRate);
    ASSERT_NE(encoder, nullptr);
    EXPECT_NE(aacOutAudioPutBytes(encoder, reinterpret_cast<const uint8_t*>(pcm.data()), 4), 0)
        << "not opened";
    ASSERT_EQ(aacOutAudioInit(encoder, &sink.stream), 0);
    EXPECT_NE(aacOutAudioInit(encoder, &sink.stream), 0) << "opened twice";
    const auto* bytes = reinterpret_cast<const uint8_t*>(pcm.data());
    for (uint32_t done = 0; done < samples * 4; done += piece) {
      EXPECT_EQ(aacOutAudioPutBytes(encoder, bytes + done, std::min(piece, samples * 4 - done)), 0);
    }
    EXPECT_EQ(aacOutAudioDone(encoder, abort), 0);
    aacOutAudioFree(encoder);
  }

  aac_a_settings settings;
  std::vector<int16_t> pcm = std::vector<int16_t>(16 * kFrame * 2);
};

TEST_F(AacOut, BytesInAnyPiecesGiveTheSameFrames) {
  Sink whole;
  encode(whole, 10 * kFrame, 10 * kFrame * 4, 0);
  ASSERT_EQ(whole.frames.size(), 10u) << "the end brings out all that was held back";
  for (uint32_t piece : {1u, 3u, 4095u, kFrame * 4}) {
    Sink pieces;
    encode(pieces, 10 * kFrame, piece, 0);
    EXPECT_EQ(pieces.frames, whole.frames) << piece;
  }
}

TEST_F(AacOut, FramesAreToldWithLengthAndTime) {
  settings.pts_offset = -1000;
  settings.pts_units = 90000;
  Sink sink;
  encode(sink, 8 * kFrame, 4096, 0);
  for (size_t i = 0; i < sink.frames.size(); ++i) {
    EXPECT_EQ(sink.told[i].length, sink.frames[i].size());
    EXPECT_EQ(sink.told[i].PTS, static_cast<int64_t>(i * kFrame * 90000 / kRate) - 1000);
  }
}

TEST_F(AacOut, AStreamWithoutRoomLosesFramesAndNothingElse) {
  Sink sink;
  sink.room = 10;
  encode(sink, 8 * kFrame, 4096, 0);
  EXPECT_TRUE(sink.frames.empty());
  EXPECT_TRUE(sink.bytes.empty()) << "no part of a frame";
}

TEST_F(AacOut, NothingIsNoInstance) {
  EXPECT_EQ(aacOutAudioDefaults(nullptr, 0), nullptr);
  EXPECT_EQ(aacOutAudioDefaults(&settings, 1), nullptr);
  EXPECT_NE(aacOutAudioChkSettings(nullptr, nullptr, 0, kRate, nullptr, nullptr), 0);
  EXPECT_EQ(aacOutAudioNew(nullptr, nullptr, 0, 0, kRate), nullptr);
  settings.he = AAC_HE_V1;
  EXPECT_EQ(aacOutAudioNew(nullptr, &settings, 0, 0, kRate), nullptr);
  settings.he = AAC_HE_OFF;
  EXPECT_NE(aacOutAudioInit(nullptr, nullptr), 0);
  EXPECT_NE(aacOutAudioPutBytes(nullptr, nullptr, 0), 0);
  EXPECT_NE(aacOutAudioDone(nullptr, 0), 0);
  aacOutAudioFree(nullptr);
  aacaenc_tt* encoder = aacOutAudioNew(nullptr, &settings, 0, 0, kRate);
  EXPECT_NE(aacOutAudioInit(encoder, nullptr), 0);
  EXPECT_NE(aacOutAudioDone(encoder, 0), 0) << "never opened";
  aacOutAudioFree(encoder);
}

}  // namespace
