// Decoding through NVCUVID on the emulated card. Proven on that emulation only.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "contract/DecodeFlags.h"
#include "fakes/nvidia/EmulatedGpu.h"
#include "log/LogCollector.h"
#include "video/decoders/DecoderRun.h"
#include "video/decoders/VideoDecoderGenericNVCUVID.h"

namespace qvs::test {
namespace {

using fakes::EmulatedGpuCounts;
using testing::HasSubstr;

constexpr uint32_t kH264 = 7, kMPEG2 = 11, kH265 = 12;

fakes::EmulatedGpu& gpu() {
  static fakes::EmulatedGpu one;
  return one;
}

/// A decoder of the card with what came out of it, and what it said.
struct CardRun {
  explicit CardRun(uint32_t codec) : harness(decoder, [this](VideoFrameBuffer& frame) { keep(frame); }) {
    decoder.setLogger(&log);
    decoder.setCodecAndVersion(codec, 0);
    decoder.setParameterValue(VideoDecoderGenericNVCUVID::kKeyDeinterlace, int64_t{0});
    opened = decoder.initialize() == 0;
  }
  void keep(VideoFrameBuffer& frame) {
    pictures.push_back({frame.getTimecode(), frame.getWidth(), frame.getHeight(), frame.getFrameType(),
                        frame.getFlags(), i420Bytes(frame)});
  }
  void feed(UnitStream& stream) {
    harness.config(stream.config);
    for (MediaUnit& unit : stream.units) harness.feed(unit.bytes, unit.timecode, unit.frameType);
  }
  std::string said() {
    std::vector<LogStatement> statements;
    log.getLogStatements(statements);
    std::string all;
    for (const LogStatement& statement : statements) all += statement.str + '\n';
    return all;
  }

  LogCollector log;
  VideoDecoderGenericNVCUVID decoder;
  DecoderHarness harness;
  std::vector<Picture> pictures;
  bool opened = false;
};

void expectSame(const std::vector<Picture>& found, const std::vector<Picture>& expected) {
  ASSERT_EQ(found.size(), expected.size());
  for (size_t i = 0; i < found.size(); ++i) {
    EXPECT_EQ(found[i].timecode, expected[i].timecode) << i;
    EXPECT_EQ(found[i].width, expected[i].width) << i;
    EXPECT_EQ(found[i].frameType, expected[i].frameType) << i;
    EXPECT_EQ(found[i].flags, expected[i].flags) << i;
    EXPECT_TRUE(found[i].bytes == expected[i].bytes) << i;
  }
}

class Nvcuvid : public testing::Test {
 protected:
  Nvcuvid() {
    gpu().faults("");
    before = gpu().counts();
  }
  ~Nvcuvid() override {
    gpu().faults("");
    const EmulatedGpuCounts after = gpu().counts();
    EXPECT_EQ(after.decoders + after.parsers + after.mapped + after.pinned, 0);
    EXPECT_EQ(after.bytes, before.bytes);
    EXPECT_EQ(after.streams, before.streams);
  }
  EmulatedGpuCounts before;
};

TEST_F(Nvcuvid, GivesThePicturesOfTheSoftware) {
  for (const CodedSetup& setup : {CodedSetup{.codec = kH264, .width = 176, .height = 144, .bFrames = 2},
                                  {.codec = kH264, .width = 176, .height = 152, .interlaced = true},
                                  {.codec = kH265, .width = 200, .height = 136, .bFrames = 2},
                                  {.codec = kMPEG2, .width = 176, .height = 144, .bFrames = 2},
                                  {.codec = kMPEG2, .width = 176, .height = 144, .interlaced = true}}) {
    SCOPED_TRACE(testing::Message() << setup.codec << ' ' << setup.interlaced);
    UnitStream stream = makeUnitStream(setup), again = stream;
    DecoderRun software(setup.codec);
    software.feed(stream);
    software.harness.drain();
    CardRun card(setup.codec);
    card.feed(again);
    card.harness.drain();
    expectSame(card.pictures, software.pictures);
  }
}

TEST_F(Nvcuvid, KeepsTheSizeOfPicturesThatWaitWhenTheStreamChangesIt) {
  UnitStream small = makeUnitStream({.codec = kH264, .width = 176, .height = 144, .frames = 4, .sets = true});
  UnitStream large = makeUnitStream({.codec = kH264, .width = 320, .height = 180, .frames = 4, .sets = true});
  CardRun card(kH264);
  card.feed(small);
  for (MediaUnit& unit : large.units) unit.timecode += 160;
  card.feed(large);
  card.harness.drain();
  ASSERT_EQ(card.pictures.size(), 8u);
  for (size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(card.pictures[i].height, i < 4 ? 144u : 180u) << i;
    EXPECT_EQ(card.pictures[i].timecode, 1000 + i * 40) << i;
  }
}

TEST_F(Nvcuvid, ForgetsAFrameTypeAfterAHundredUnitsAndRefusesLengthsOfNothing) {
  UnitStream stream = makeUnitStream({.codec = kH264, .width = 176, .height = 144, .frames = 3});
  CardRun card(kH264);
  card.harness.config(stream.config);
  card.harness.feed(stream.units[0].bytes, 1000, 1);
  uint8_t nothing[] = {0, 0, 0, 0, 1};
  EXPECT_EQ(card.decoder.addFrame(nothing, 0, sizeof nothing, 5, 2), 0xFFFFFFFFu);
  MediaBytes filler{0, 0, 0, 2, 0x0C, 0x80};
  for (uint64_t time = 5000; time < 5100; ++time) card.harness.feed(filler, time, 2);
  card.harness.drain();
  ASSERT_EQ(card.pictures.size(), 1u);
  EXPECT_EQ(card.pictures[0].frameType, 2u) << "a key picture, but who knows that now";
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 48, kFourCCYV12);
  EXPECT_EQ(card.decoder.getDecodedFrame(frame), 0u);
  EXPECT_EQ(frame.getLocations(), VideoFrameBuffer::systemMem);
  EXPECT_EQ(std::count(frame.getPlane(1), frame.getPlane(1) + 32 * 24, 128), 32 * 24) << "black";
}

TEST_F(Nvcuvid, EndsCleanWhicheverCallFails) {
  UnitStream stream =
      makeUnitStream({.codec = kH264, .width = 176, .height = 144, .frames = 4, .bFrames = 1});
  uint32_t shown = 0;
  for (int call = 1;; ++call) {
    ASSERT_LT(call, 1000);
    gpu().faults(("any@" + std::to_string(call) + "=status:1").c_str());
    std::string words;
    size_t pictures = 0;
    {
      CardRun card(kH264);
      if (card.opened) {
        card.feed(stream);
        card.harness.drain();
      }
      card.decoder.close();
      pictures = card.pictures.size();
      words = card.said();
    }
    const std::string faulty = gpu().faulty();
    SCOPED_TRACE(testing::Message() << call << ' ' << faulty << ": " << words);
    const EmulatedGpuCounts now = gpu().counts();
    ASSERT_EQ(now.decoders + now.parsers + now.mapped + now.pinned, 0);
    ASSERT_EQ(now.bytes, before.bytes);
    if (faulty.empty()) break;
    const std::string name = faulty.substr(0, faulty.find("_v2"));
    if (words.find(name) != std::string::npos) ++shown;
    if (pictures < 4) {
      EXPECT_THAT(words, testing::AnyOf(HasSubstr(name), HasSubstr("Failure"), HasSubstr("CUDA")));
    }
  }
  EXPECT_GT(shown, 30u);
}

}  // namespace
}  // namespace qvs::test
