// Field pictures whose pairs are damaged.

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "contract/DecodeFlags.h"
#include "video/decoders/DecoderRun.h"
#include "video/decoders/FieldStream.h"

namespace qvs::test {
namespace {

using testing::ElementsAreArray;

using Fields = std::vector<CodedField>;

struct Kind {
  const char* name;
  FieldStreamSetup setup;
};
constexpr Kind kKinds[] = {
    {"H264", {.codec = 7}},
    {"H264BottomFirst", {.codec = 7, .bottomFirst = true}},
    {"Mpeg2", {.codec = 11}},
    {"Mpeg2BottomFirstWithoutGroups", {.codec = 11, .bottomFirst = true, .groupHeaders = false}},
};

/// What a container hands over as one unit.
enum class Packing { kField, kPair };

uint64_t timeOf(uint32_t pair) {
  return 1000 + 40 * uint64_t{pair};
}

std::vector<MediaUnit> pack(const Fields& fields, Packing packing) {
  std::vector<MediaUnit> units;
  for (size_t i = 0; i < fields.size(); ++i) {
    const CodedField& field = fields[i];
    const bool follows = i != 0 && fields[i - 1].pair == field.pair;
    if (follows && packing == Packing::kPair) {
      units.back().bytes.insert(units.back().bytes.end(), field.bytes.begin(), field.bytes.end());
      continue;
    }
    // A key frame's second field is no start of its own.
    const bool key = field.key && !(follows && fields[i - 1].bottom != field.bottom);
    units.push_back({.bytes = field.bytes,
                     .timecode = timeOf(field.pair) + (follows ? 20u : 0u),
                     .frameType = key ? 1u : 2u});
  }
  return units;
}

/// The rules of the status word that hold for any input.
void expectSoundStatus(uint32_t status) {
  EXPECT_NE(status & DecodeFlagInputDone, 0u);
  EXPECT_EQ(status & (DecodeFlagAborted | DecodeFlagFlushed), 0u);
  const uint32_t outcome = DecodeFlagFrameAvailable | DecodeFlagFrameNotReady | DecodeFlagFrameError;
  EXPECT_TRUE((status & outcome) == 0 || (status & DecodeFlagPictureDone) != 0) << std::hex << status;
  const bool refused = (status & outcome) == (DecodeFlagFrameNotReady | DecodeFlagFrameError);
  EXPECT_EQ((status & DecodeFlagFrameNotReady) != 0, refused) << std::hex << status;
}

struct FieldRun : DecoderRun {
  using DecoderRun::DecoderRun;

  void feed(std::vector<MediaUnit> units) {
    for (MediaUnit& unit : units) expectSoundStatus(harness.feed(unit.bytes, unit.timecode, unit.frameType));
  }
};

/// The pictures from a time on are those of a stream.
void expectRightFrom(uint32_t pair, const FieldRun& run, const FieldStream& stream) {
  std::vector<uint64_t> times, expected;
  for (const Picture& picture : run.pictures) {
    if (picture.timecode < timeOf(pair)) continue;
    times.push_back(picture.timecode);
    const auto number = static_cast<size_t>((picture.timecode - 1000) / 40);
    EXPECT_EQ(picture.bytes, stream.pictures[number]) << "frame " << number;
  }
  for (; pair < stream.pictures.size(); ++pair) expected.push_back(timeOf(pair));
  EXPECT_THAT(times, ElementsAreArray(expected));
}

struct Damage {
  const char* name;
  uint32_t rightFrom;  ///< the frame: the first key frame behind the damage
  void (*apply)(Fields& fields);
};

void drop(Fields& fields, int first, int count = 1) {
  fields.erase(fields.begin() + first, fields.begin() + first + count);
}

void repeat(Fields& fields, int index) {
  const CodedField again = fields[static_cast<size_t>(index)];
  fields.insert(fields.begin() + index, again);
}

// Key frames are 0, 6 and 12; field 2n is the first of frame n.
constexpr Damage kDamages[] = {
    {"FirstFieldLost", 6, [](Fields& fields) { drop(fields, 4); }},
    {"SecondFieldLost", 6, [](Fields& fields) { drop(fields, 5); }},
    {"FirstFieldTwice", 6, [](Fields& fields) { repeat(fields, 4); }},
    {"SecondFieldTwice", 6, [](Fields& fields) { repeat(fields, 5); }},
    {"FieldsSwapped", 6, [](Fields& fields) { std::swap(fields[4], fields[5]); }},
    {"FirstFieldInTheUnitBefore", 6, [](Fields& fields) { fields[4].pair = 1; }},
    {"SecondFieldInTheUnitBehind", 6, [](Fields& fields) { fields[5].pair = 3; }},
    {"FirstFieldsAlone", 6,
     [](Fields& fields) {
       for (int pair = 4; pair > 0; --pair) drop(fields, 2 * pair + 1);
     }},
    {"SecondFieldsAlone", 6,
     [](Fields& fields) {
       for (int pair = 4; pair > 0; --pair) drop(fields, 2 * pair);
     }},
    {"FirstFieldLostBeforeAKeyFrame", 6, [](Fields& fields) { drop(fields, 10); }},
    {"SecondFieldLostBeforeAKeyFrame", 6, [](Fields& fields) { drop(fields, 11); }},
    {"FirstFieldOfAKeyFrameLost", 12, [](Fields& fields) { drop(fields, 12); }},
    {"SecondFieldOfAKeyFrameLost", 12, [](Fields& fields) { drop(fields, 13); }},
    {"FirstFieldOfAKeyFrameTwice", 12, [](Fields& fields) { repeat(fields, 12); }},
    {"BeginsWithASecondField", 6, [](Fields& fields) { drop(fields, 0); }},
    {"BeginsBetweenKeyFramesWithASecondField", 6, [](Fields& fields) { drop(fields, 0, 5); }},
};

class FieldPairs : public testing::TestWithParam<std::tuple<Kind, Packing>> {
 protected:
  const FieldStreamSetup& setup() const { return std::get<0>(GetParam()).setup; }
  Packing packing() const { return std::get<1>(GetParam()); }

  // One line of libavcodec's passes by the level that its codecs are given.
  void SetUp() override { av_log_set_level(AV_LOG_PANIC); }

  FieldStream stream = makeFieldStream(setup());
};

INSTANTIATE_TEST_SUITE_P(Streams, FieldPairs,
                         testing::Combine(testing::ValuesIn(kKinds),
                                          testing::Values(Packing::kField, Packing::kPair)),
                         [](const auto& info) {
                           const bool fields = std::get<1>(info.param) == Packing::kField;
                           return std::string(std::get<0>(info.param).name) + (fields ? "_Fields" : "_Pairs");
                         });

TEST_P(FieldPairs, WeaveIntoFrames) {
  FieldRun run(setup().codec);
  run.harness.config(stream.config);
  EXPECT_EQ(run.harness.getConfigResult(), 0u);
  run.feed(pack(stream.fields, packing()));
  run.harness.drain();
  expectRightFrom(0, run, stream);
  for (const Picture& picture : run.pictures) EXPECT_EQ(picture.flags, setup().bottomFirst ? 6u : 2u);
  EXPECT_EQ(run.harness.getCounts().concealed + run.harness.getCounts().refused, 0u);
}

TEST_P(FieldPairs, AreRightAgainFromTheKeyFrameBehindDamage) {
  for (const Damage& damage : kDamages) {
    SCOPED_TRACE(damage.name);
    Fields fields = stream.fields;
    damage.apply(fields);
    FieldRun run(setup().codec);
    run.harness.config(stream.config);
    run.feed(pack(fields, packing()));
    run.harness.drain();
    expectRightFrom(damage.rightFrom, run, stream);
    // One field more or less hurts the pictures up to there but stops none, and is told of.
    const bool oneField =
        fields.size() + 1 == stream.fields.size() || fields.size() == stream.fields.size() + 1;
    if (setup().codec == 11 && oneField) {
      EXPECT_GE(run.pictures.size(), setup().pairs - 1);
      EXPECT_EQ(run.harness.getCounts().concealed, 1u);
    }
    // Nothing is shown that was made from pictures which never came.
    if (fields.front().pair != 0) {
      EXPECT_EQ(run.timecodes().front(), timeOf(damage.rightFrom));
    }
    // Where half of a key frame is lost, H.264 orders the pictures of both sequences by one count.
    if (damage.rightFrom != 6) continue;
    const auto times = run.timecodes();
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end())) << testing::PrintToString(times);
  }
}

TEST_P(FieldPairs, KeepTimesThatJumpBackToAFrame) {
  auto units = pack(stream.fields, packing());
  std::vector<uint64_t> times;
  for (uint32_t pair = 0; pair < setup().pairs; ++pair) times.push_back(timeOf(pair) - (pair >= 9 ? 320 : 0));
  for (MediaUnit& unit : units) unit.timecode -= unit.timecode >= timeOf(9) ? 320 : 0;
  FieldRun run(setup().codec);
  run.harness.config(stream.config);
  run.feed(units);
  run.harness.drain();
  EXPECT_THAT(run.timecodes(), ElementsAreArray(times));
}

TEST_P(FieldPairs, AreDeinterlacedThroughDamage) {
  for (const bool doubled : {false, true}) {
    for (const Damage& damage : kDamages) {
      SCOPED_TRACE(damage.name);
      Fields fields = stream.fields;
      damage.apply(fields);
      FieldRun run(setup().codec, 1);
      run.decoder->setParameterValue(1, int64_t{doubled});
      VideoFrameBuffer second;
      DecoderHarness harness(*run.decoder, [&](VideoFrameBuffer& frame) {
        run.keep(frame);
        EXPECT_EQ(frame.getFlags(), 0u);
        if (!doubled) return;
        second.allocBuffer(frame.getWidth(), frame.getHeight(), frame.getFourCC());
        EXPECT_EQ(run.decoder->getDecodedFrame(second), 0u);
        EXPECT_GE(second.getTimecode(), frame.getTimecode());
      });
      harness.config(stream.config);
      for (MediaUnit& unit : pack(fields, packing())) harness.feed(unit.bytes, unit.timecode, unit.frameType);
      harness.drain();
      EXPECT_GE(run.pictures.size(), setup().pairs - damage.rightFrom);
      EXPECT_EQ(run.pictures.back().timecode, timeOf(setup().pairs - 1));
    }
  }
}

TEST_P(FieldPairs, SurviveDisorderAndFlippedBits) {
  std::mt19937 random(3);
  FieldRun run(setup().codec);
  run.harness.config(stream.config);
  for (int round = 0; round < 60; ++round) {
    Fields fields = stream.fields;
    for (int change = 0; change < 4; ++change) {
      const auto at = static_cast<int>(random() % fields.size());
      CodedField& field = fields[static_cast<size_t>(at)];
      if (change % 2 == 0) std::swap(field, fields[random() % fields.size()]);
      if (round % 3 == 0) drop(fields, at);
      if (round % 3 == 1)
        field.bytes[random() % field.bytes.size()] ^= static_cast<uint8_t>(1u << random() % 8);
      if (round % 3 == 2) field.bytes.resize(random() % field.bytes.size() + 1);
    }
    for (MediaUnit& unit : pack(fields, packing())) run.harness.feed(unit.bytes, 0, unit.frameType);
  }
  run.feed(pack(stream.fields, packing()));
  run.harness.drain();
  expectRightFrom(6, run, stream);
}

}  // namespace
}  // namespace qvs::test
