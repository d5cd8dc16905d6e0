// Hostile H.264 and H.265 through whole sessions.

#include <gtest/gtest.h>

#include <map>

#include "support/SessionDriver.h"
#include "video/decoders/UnitStream.h"

namespace qvs::test {
namespace {

constexpr uint32_t kKeyInterval = 5;
constexpr uint32_t kFrames = 3 * kKeyInterval;
constexpr size_t kLastKey = 2 * kKeyInterval;
constexpr uint32_t kH265 = 12;

/// The units of one that is behind lengths.
std::vector<MediaBytes> splitLengths(const MediaBytes& bytes) {
  std::vector<MediaBytes> units;
  for (size_t at = 0; at + 4 <= bytes.size();) {
    const size_t len =
        size_t{bytes[at]} << 24 | size_t{bytes[at + 1]} << 16 | size_t{bytes[at + 2]} << 8 | bytes[at + 3];
    units.emplace_back(bytes.begin() + static_cast<ptrdiff_t>(at + 4),
                       bytes.begin() + static_cast<ptrdiff_t>(at + 4 + len));
    at += 4 + len;
  }
  return units;
}

bool isH265Set(const MediaBytes& unit) {
  const int type = unit[0] >> 1 & 63;
  return type >= 32 && type <= 34;
}

/// Its parameter sets are in the record alone.
UnitStream makeUnits(CodedSetup setup) {
  setup.keyInterval = kKeyInterval;
  UnitStream stream = makeUnitStream(setup);
  if (setup.codec != kH265) return stream;
  stream.config = makeHevcRecord(splitLengths(stream.units[0].bytes));
  for (MediaUnit& unit : stream.units) {
    auto units = splitLengths(unit.bytes);
    std::erase_if(units, isH265Set);
    unit.bytes = joinLengthPrefixed(units);
  }
  return stream;
}

using PictureMap = std::map<uint64_t, DecodedPicture>;  ///< by timecode

class UnitRun {
 public:
  explicit UnitRun(uint32_t codec)
      : driver({.codec = codec, .codecVersion = 0, .rungs = {{48, 32}}}, OnFailure::kGoOn) {
    EXPECT_TRUE(driver.isOpen());
    driver.keepPictures(true);
  }

  uint32_t configure(MediaBytes record) {
    return driver.session().videoDecoderDecodeCodecConfig(record.data(), 0,
                                                          static_cast<uint32_t>(record.size()));
  }

  Step feed(const MediaUnit& unit) {
    Step result = driver.feed(unit.bytes, unit.timecode, unit.frameType);
    if (result.picture) {
      EXPECT_EQ(result.packetCount, 1u);
      times.push_back(result.timecode);
      pictures[result.timecode] = result.decoded;
    }
    return result;
  }

  void feedAll(const UnitStream& stream, size_t from = 0) {
    for (size_t i = from; i < stream.units.size(); ++i) EXPECT_FALSE(feed(stream.units[i]).failed) << i;
  }

  SessionDriver driver;
  PictureMap pictures;
  std::vector<uint64_t> times;  ///< in the order in which pictures came
};

class HostileUnits : public testing::TestWithParam<uint32_t> {
 protected:
  void SetUp() override {
    UnitRun whole(GetParam());
    whole.configure(stream.config);
    whole.feedAll(stream);
    ASSERT_EQ(whole.pictures.size(), kFrames);
    expected = whole.pictures;
  }

  void expectRightFrom(size_t index, const PictureMap& pictures, const std::string& after) const {
    for (; index < kFrames; ++index) {
      const uint64_t timecode = stream.units[index].timecode;
      const auto found = pictures.find(timecode);
      ASSERT_NE(found, pictures.end()) << after << ", picture " << index;
      EXPECT_TRUE(found->second == expected.at(timecode)) << after << ", picture " << index;
    }
  }

  CodedSetup setup{.codec = GetParam(), .width = 96, .height = 64, .frames = kFrames};
  UnitStream stream = makeUnits(setup);
  PictureMap expected;
};

TEST_P(HostileUnits, MissingParameterSetsEndWithTheirRecord) {
  UnitRun run(GetParam());
  for (size_t i = 0; i < kKeyInterval; ++i) {
    const Step result = run.feed(stream.units[i]);
    EXPECT_FALSE(result.picture || result.failed);
  }
  run.configure(stream.config);
  run.feedAll(stream, kKeyInterval);
  expectRightFrom(kKeyInterval, run.pictures, "missing sets");
}

TEST_P(HostileUnits, LengthsThatLieCostTheirPicturesOnly) {
  for (const int64_t lie :
       {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{100000}, int64_t{0x7FFFFFFF}, int64_t{0xFFFFFFFF}}) {
    UnitRun run(GetParam());
    run.configure(stream.config);
    for (size_t i = 0; i < kLastKey; ++i) {
      MediaUnit unit = stream.units[i];
      const auto units = splitLengths(unit.bytes);
      size_t at = 0;  // of the last length
      for (size_t n = 0; n + 1 < units.size(); ++n) at += 4 + units[n].size();
      const bool relative = lie == 1 || lie == -1;
      const auto told =
          static_cast<uint32_t>(relative ? static_cast<int64_t>(units.back().size()) + lie : lie);
      for (size_t byte = 0; byte < 4; ++byte)
        unit.bytes[at + byte] = static_cast<uint8_t>(told >> (24 - 8 * byte));
      EXPECT_EQ(run.feed(unit).failed, lie != -1) << lie;
    }
    run.feedAll(stream, kLastKey);
    expectRightFrom(kLastKey, run.pictures, "length " + std::to_string(lie));
  }
}

TEST_P(HostileUnits, SizesAndProfilesChangeInMidStream) {
  const CodedSetup changes[] = {
      {.codec = GetParam(), .width = 160, .height = 96, .frames = 7, .tenBit = true},
      {.codec = GetParam(), .width = 160, .height = 96, .frames = 7},
      {.codec = GetParam(), .width = 64, .height = 128, .frames = 7, .interlaced = GetParam() == 7},
      {.codec = GetParam(), .width = 96, .height = 64, .frames = 7, .tenBit = true},
  };
  UnitRun run(GetParam());
  run.configure(stream.config);
  run.feedAll(stream);
  for (const CodedSetup& change : changes) {
    SCOPED_TRACE(std::to_string(change.width) + (change.tenBit ? ", ten bits" : ""));
    const UnitStream part = makeUnits(change);
    UnitRun alone(GetParam());
    for (UnitRun* one : {&run, &alone}) {
      one->pictures.clear();
      one->configure(part.config);
      one->feedAll(part);
    }
    ASSERT_EQ(run.pictures.size(), part.units.size());
    for (const auto& [timecode, picture] : alone.pictures) {
      EXPECT_EQ(picture.width, static_cast<uint32_t>(change.width));
      EXPECT_TRUE(run.pictures[timecode] == picture) << timecode;
    }
  }
}

TEST_P(HostileUnits, TimesThatJumpComeOutAsTheyWentIn) {
  UnitRun run(GetParam());
  run.configure(stream.config);
  std::vector<uint64_t> times;
  for (size_t i = 0; i < kFrames; ++i) {
    MediaUnit unit = stream.units[i];
    const uint64_t jumps[] = {unit.timecode, 3, 3, uint64_t{1} << 62, 0};
    unit.timecode = jumps[i / 3];
    times.push_back(unit.timecode);
    EXPECT_FALSE(run.feed(unit).failed);
  }
  EXPECT_EQ(run.times, times);
}

INSTANTIATE_TEST_SUITE_P(Codecs, HostileUnits, testing::Values(7u, 12u),
                         [](const auto& info) { return info.param == 7 ? "H264" : "H265"; });

}  // namespace
}  // namespace qvs::test
