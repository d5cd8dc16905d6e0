// Hostile H.264 and H.265 through whole sessions.

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "road/Road.h"
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

class UnitRoad {
 public:
  explicit UnitRoad(uint32_t codec) : road({.codecVersion = 0, .rungs = {{48, 32}}, .codec = codec}) {
    EXPECT_TRUE(road.open());
    road.keepPictures(true);
  }

  uint32_t configure(MediaBytes record) {
    return road.getSession().videoDecoderDecodeCodecConfig(record.data(), 0,
                                                           static_cast<uint32_t>(record.size()));
  }

  RoadResult feed(const MediaUnit& unit) {
    RoadResult result = road.feed(unit.bytes, unit.timecode, unit.frameType);
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

  Road road;
  PictureMap pictures;
  std::vector<uint64_t> times;  ///< in the order in which pictures came
};

class HostileUnits : public testing::TestWithParam<uint32_t> {
 protected:
  void SetUp() override {
    UnitRoad whole(GetParam());
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
      for (int plane = 0; plane < 3; ++plane) {
        EXPECT_TRUE(found->second.planes[plane] == expected.at(timecode).planes[plane])
            << after << ", picture " << index << ", plane " << plane;
      }
    }
  }

  CodedSetup setup{.codec = GetParam(), .width = 96, .height = 64, .frames = kFrames};
  UnitStream stream = makeUnits(setup);
  PictureMap expected;
};

TEST_P(HostileUnits, LossesEndWithTheNextKeyFrame) {
  std::mt19937 random(5);
  for (int round = 0; round < 20; ++round) {
    UnitRoad road(GetParam());
    road.configure(stream.config);
    for (size_t i = 0; i < kLastKey; ++i) {
      if (random() % 3 != 0) road.feed(stream.units[i]);
    }
    road.feedAll(stream, kLastKey);
    expectRightFrom(kLastKey, road.pictures, "round " + std::to_string(round));
  }
}

TEST_P(HostileUnits, AStartBetweenKeyFramesShowsNothingBeforeTheNext) {
  UnitRoad road(GetParam());
  road.configure(stream.config);
  road.feedAll(stream, 2);
  EXPECT_EQ(road.pictures.begin()->first, stream.units[kKeyInterval].timecode);
  expectRightFrom(kKeyInterval, road.pictures, "a late start");
}

TEST_P(HostileUnits, MissingParameterSetsEndWithTheirRecord) {
  UnitRoad road(GetParam());
  for (size_t i = 0; i < kKeyInterval; ++i) {
    const RoadResult result = road.feed(stream.units[i]);
    EXPECT_FALSE(result.picture || result.failed);
  }
  road.configure(stream.config);
  road.feedAll(stream, kKeyInterval);
  expectRightFrom(kKeyInterval, road.pictures, "missing sets");
}

TEST_P(HostileUnits, LengthsThatLieCostTheirPicturesOnly) {
  for (const int64_t lie :
       {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{100000}, int64_t{0x7FFFFFFF}, int64_t{0xFFFFFFFF}}) {
    UnitRoad road(GetParam());
    road.configure(stream.config);
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
      EXPECT_EQ(road.feed(unit).failed, lie != -1) << lie;
    }
    road.feedAll(stream, kLastKey);
    expectRightFrom(kLastKey, road.pictures, "length " + std::to_string(lie));
  }
}

TEST_P(HostileUnits, RecordsOfEveryLengthLeaveARoadForTheRightOne) {
  std::mt19937 random(9);
  for (size_t len = 0; len <= 64; ++len) {
    MediaBytes noise(len), cut(stream.config), lies(stream.config);
    for (uint8_t& byte : noise) byte = static_cast<uint8_t>(random());
    cut.resize(len);  // or zeros behind it
    lies.resize(len, 0xFF);
    for (size_t i = 5; i < len; i += 3) lies[i] ^= static_cast<uint8_t>(random() % 4);
    for (const MediaBytes& record : {noise, cut, lies}) {
      UnitRoad road(GetParam());
      road.configure(record);
      for (size_t i = 0; i < 3; ++i) road.feed(stream.units[i]);
      road.configure(stream.config);
      road.feedAll(stream, kKeyInterval);
      road.configure(record);
      road.feed(stream.units[0]);
      road.configure(stream.config);
      road.feedAll(stream, kLastKey);
      expectRightFrom(kLastKey, road.pictures, "a record of " + std::to_string(len) + " bytes");
      if (HasFailure()) return;
    }
  }
}

TEST_P(HostileUnits, SizesAndProfilesChangeInMidStream) {
  const CodedSetup changes[] = {
      {.codec = GetParam(), .width = 160, .height = 96, .frames = 7, .tenBit = true},
      {.codec = GetParam(), .width = 160, .height = 96, .frames = 7},
      {.codec = GetParam(), .width = 64, .height = 128, .frames = 7, .interlaced = GetParam() == 7},
      {.codec = GetParam(), .width = 96, .height = 64, .frames = 7, .tenBit = true},
  };
  UnitRoad road(GetParam());
  road.configure(stream.config);
  road.feedAll(stream);
  for (const CodedSetup& change : changes) {
    SCOPED_TRACE(std::to_string(change.width) + (change.tenBit ? ", ten bits" : ""));
    const UnitStream part = makeUnits(change);
    UnitRoad alone(GetParam());
    for (UnitRoad* one : {&road, &alone}) {
      one->pictures.clear();
      one->configure(part.config);
      one->feedAll(part);
    }
    ASSERT_EQ(road.pictures.size(), part.units.size());
    for (const auto& [timecode, picture] : alone.pictures) {
      EXPECT_EQ(road.pictures[timecode].width, static_cast<uint32_t>(change.width));
      for (int plane = 0; plane < 3; ++plane)
        EXPECT_TRUE(road.pictures[timecode].planes[plane] == picture.planes[plane])
            << timecode << ", " << plane;
    }
  }
}

TEST_P(HostileUnits, TimesThatJumpComeOutAsTheyWentIn) {
  UnitRoad road(GetParam());
  road.configure(stream.config);
  std::vector<uint64_t> times;
  for (size_t i = 0; i < kFrames; ++i) {
    MediaUnit unit = stream.units[i];
    const uint64_t jumps[] = {unit.timecode, 3, 3, uint64_t{1} << 62, 0};
    unit.timecode = jumps[i / 3];
    times.push_back(unit.timecode);
    EXPECT_FALSE(road.feed(unit).failed);
  }
  EXPECT_EQ(road.times, times);
}

INSTANTIATE_TEST_SUITE_P(Codecs, HostileUnits, testing::Values(7u, 12u),
                         [](const auto& info) { return info.param == 7 ? "H264" : "H265"; });

}  // namespace
}  // namespace qvs::test
