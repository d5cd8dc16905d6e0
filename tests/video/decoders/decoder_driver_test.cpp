// What the decoders send to a back end, seen by one that records it.

#include <gmock/gmock.h>
#include <mc_decoder_codes.h>

#include <cstring>
#include <deque>
#include <new>

#include "bufstream/ParameterSets.h"
#include "contract/DecodeFlags.h"
#include "frames/VideoFrameBuffer.h"
#include "support/MediaStream.h"
#include "video/decoders/H264Utils.h"
#include "video/decoders/VideoDecoderH264.h"
#include "video/decoders/VideoDecoderH265.h"
#include "video/decoders/VideoDecoderMP2.h"
#include "video/decoders/VideoDecoderMP4.h"

namespace {
bool memoryFails = false;  ///< of allocations that may answer null
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return memoryFails ? nullptr : ::operator new[](size);
}

namespace qvs::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

struct Command {
  uint32_t code, value;
  bool operator==(const Command&) const = default;
};

/// A back end that takes what it is told to take and answers with prepared states.
struct FakeBackEnd {
  FakeBackEnd() {
    table.copybytes = [](bufstream_tt* stream, uint8_t* bytes, uint32_t size) {
      return self(stream).take(bytes, size);
    };
    table.auxinfo = [](bufstream_tt* stream, uint32_t value, uint32_t code, void* data, uint32_t size) {
      return self(stream).command(value, code, data, size);
    };
    table.done = [](bufstream_tt*, int32_t) {};
    table.free = [](bufstream_tt*) {};
    table.Buf_IO_struct = this;
  }

  static FakeBackEnd& self(bufstream_tt* stream) { return *static_cast<FakeBackEnd*>(stream->Buf_IO_struct); }

  uint32_t take(uint8_t* bytes, uint32_t size) {
    ++feeds;
    const uint32_t taken = std::min(size, takes);
    if (taken != 0) pieces.emplace_back(bytes, bytes + taken);
    return taken;
  }

  template <typename Record>
  static uint32_t give(void* data, Record* record) {
    *static_cast<Record**>(data) = record;
    return record != nullptr ? 0 : 1;
  }

  uint32_t command(uint32_t value, uint32_t code, void* data, uint32_t size) {
    if (code != CLEAN_PARSE_STATE) commands.push_back({code, value});
    if (code == SET_PIC_PTS || code == SET_USER_DATA) {
      recordSize = size;
      std::memcpy(&record, data, size);
    }
    if (code == CLEAN_PARSE_STATE) {
      const uint32_t state = states.empty() ? 0 : states.front();
      if (!states.empty()) states.pop_front();
      return state;
    }
    if (code == GET_SEQ_PARAMSPEX) return give(data, sequenceKnown ? &sequence : nullptr);
    if (code == GET_PIC_PARAMSPEX) return give(data, &picture);
    if (code == GET_LAST_PTS || code == GET_USER_DATAP)
      return give(data, recordSize != 0 ? &record : nullptr);
    return 0;
  }

  mc_bufstream_t table{};
  uint32_t takes = ~0u;
  int feeds = 0;
  std::vector<MediaBytes> pieces;
  std::vector<Command> commands;
  std::deque<uint32_t> states;
  alignas(8) uint8_t record[24] = {};
  uint32_t recordSize = 0;
  bool sequenceKnown = true;
  mc_seq_params_ex_t sequence{};
  mc_pic_params_ex_t picture{};
};

template <typename Decoder>
struct WithFake : Decoder {
  WithFake() { this->initialize(); }
  ~WithFake() override { this->close(); }
  bufstream_tt* createBackEnd(callbacks_t*) override { return &fake.table; }

  uint32_t add(MediaBytes& bytes, uint64_t timecode = 0, uint32_t frameType = 0) {
    return this->addFrame(bytes.data(), 0, static_cast<uint32_t>(bytes.size()), timecode, frameType);
  }
  uint32_t configure(MediaBytes bytes) {
    return this->decodeCodecConfig(bytes.data(), 0, static_cast<uint32_t>(bytes.size()));
  }
  uint32_t step() {
    uint32_t flags = 0xFFFF;
    EXPECT_EQ(this->decode(&flags), 0u);
    return flags;
  }

  FakeBackEnd fake;
};

// The fake outlives the calls that the base's destructor would make: the table's functions touch nothing of
// it.
using H264 = WithFake<VideoDecoderH264>;
using H265 = WithFake<VideoDecoderH265>;
using MP4 = WithFake<VideoDecoderMP4>;
using MP2 = WithFake<VideoDecoderMP2>;

mc_seq_params_ex_t sequenceOf(int32_t width, int32_t height, int32_t aspectWidth = 0,
                              int32_t aspectHeight = 0, int32_t aspectCode = 0) {
  mc_seq_params_ex_t info{};
  info.horizontal_size = width;
  info.vertical_size = height;
  info.aspect_ratio_width = aspectWidth;
  info.aspect_ratio_height = aspectHeight;
  info.aspect_ratio_information = aspectCode;
  return info;
}

constexpr uint32_t kSetUpDone = SEQ_HDR_FLAG | PARSE_DONE_FLAG;
constexpr uint32_t kPicture = PARSE_DONE_FLAG | PIC_DECODED_FLAG | PIC_VALID_FLAG | PIC_FULL_FLAG;
const MediaBytes kCode{0, 0, 0, 1};
const MediaBytes kSps{0x67, 66, 0, 30, 1}, kPps{0x68, 2, 3};

MediaBytes afterCode(const MediaBytes& unit) {
  MediaBytes bytes = kCode;
  bytes.insert(bytes.end(), unit.begin(), unit.end());
  return bytes;
}

MediaBytes avcRecord(uint32_t lengthSize = 4) {
  MediaBytes record = makeAvcRecord({kSps, kPps});
  record[4] = static_cast<uint8_t>(0xFC | (lengthSize - 1));
  return record;
}

TEST(DecoderDriver, SplicesWhatAnH264UnitLacks) {
  const MediaBytes key{0x65, 9}, slice{0x41, 8}, delimiter{9, 0xF0};
  const auto delimiterOf = [](uint8_t types) { return MediaBytes{0, 0, 0, 1, 9, types}; };
  const struct {
    std::vector<MediaBytes> units;
    uint32_t frameType;
    std::vector<MediaBytes> pieces;
  } cases[] = {
      {{key}, 1, {delimiterOf(0x10), afterCode(kSps), afterCode(kPps), kCode, key}},
      {{kSps, kPps, key}, 1, {delimiterOf(0x10), kCode, kSps, kCode, kPps, kCode, key}},
      {{kSps, key}, 1, {delimiterOf(0x10), afterCode(kPps), kCode, kSps, kCode, key}},
      {{slice}, 2, {delimiterOf(0x30), kCode, slice}},
      {{slice}, 3, {delimiterOf(0x50), kCode, slice}},
      {{slice}, 0, {delimiterOf(0x30), kCode, slice}},
      {{delimiter, slice}, 2, {kCode, delimiter, kCode, slice}},
  };
  for (uint32_t lengthSize = 1; lengthSize <= 4; ++lengthSize) {
    H264 decoder;
    decoder.fake.states = {0, kSetUpDone};
    EXPECT_EQ(decoder.configure(avcRecord(lengthSize)), 0u);
    for (const auto& row : cases) {
      decoder.fake.pieces.clear();
      MediaBytes bytes = joinLengthPrefixed(row.units, lengthSize);
      EXPECT_EQ(decoder.add(bytes, 7, row.frameType), 0u);
      EXPECT_EQ(decoder.step(), DecodeFlagInputDone);
      EXPECT_EQ(decoder.fake.pieces, row.pieces);
    }
  }
}

TEST(DecoderDriver, SplicesH265SetsInOrderAndNoDelimiter) {
  const MediaBytes vps{0x40, 1, 5}, sps{0x42, 1, 6}, pps{0x44, 1, 7}, key{0x26, 1, 8};
  H265 decoder;
  EXPECT_EQ(decoder.configure(makeHevcRecord({vps, sps, pps})), 0u);
  EXPECT_THAT(decoder.fake.commands,
              ElementsAre(Command{PARSE_INIT, 0}, Command{PARSE_OPTIONS, 16}, Command{SET_CPU_NUM, 4},
                          Command{SET_SMP_MODE, 1}, Command{SET_LOOP_FILTER_MODE, 1},
                          Command{SET_MV_PRECISION, 0}, Command{PARSE_SEQ_HDR, 0},
                          Command{INIT_FRAME_PARSER, 0}, Command{PARSE_FRAMES, 0}, Command{65677, 8}));
  MediaBytes bytes = joinLengthPrefixed({sps, key});
  decoder.add(bytes, 0, 1);
  decoder.step();
  EXPECT_THAT(decoder.fake.pieces, ElementsAre(afterCode(vps), afterCode(pps), kCode, sps, kCode, key));
}

TEST(DecoderDriver, QueuesTheUnitsBeforeALengthThatLies) {
  for (const uint32_t lie : {0u, 4u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    H264 decoder;
    MediaBytes bytes = joinLengthPrefixed({{0x41, 1, 2}});
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(lie >> shift));
    bytes.insert(bytes.end(), {1, 2, 3});
    EXPECT_EQ(decoder.add(bytes, 0, 2), 0xFFFFFFFFu);
    decoder.step();
    EXPECT_EQ(decoder.fake.pieces.size(), 3u);
    EXPECT_EQ(decoder.fake.pieces.back(), (MediaBytes{0x41, 1, 2}));
  }
  H264 decoder;
  EXPECT_EQ(decoder.addFrame(nullptr, 0, 100, 0, 1), 0u);
}

TEST(DecoderDriver, SetsTheH264BackEndUpOnceAndReplacesSetsLater) {
  H264 decoder;
  decoder.setParameterValue(VideoDecoderH264::kKeyOptACCMode, int64_t{3});
  decoder.setParameterValue(VideoDecoderH264::kKeyOptCPUNum, int64_t{-1});
  decoder.setParameterValue(VideoDecoderH264::kKeyEc, int64_t{5});
  decoder.fake.states = {SEQ_HDR_FLAG, kSetUpDone};
  EXPECT_EQ(decoder.configure(avcRecord()), 0u);
  EXPECT_THAT(
      decoder.fake.commands,
      ElementsAre(Command{PARSE_INIT, 0}, Command{PARSE_OPTIONS, 16 | 512}, Command{SET_SMP_MODE, 1},
                  Command{HWACC_SET_ACC_MODE, 3}, Command{SET_LOOP_FILTER_MODE, 1},
                  Command{SET_OUTPUT_8BIT, 0}, Command{SET_MV_PRECISION, 0}, Command{SET_DPB_SIZE, 0},
                  Command{SET_ERROR_CONCEALMENT, 5}, Command{PARSE_SEQ_HDR, 0}, Command{GET_SEQ_PARAMSPEX, 0},
                  Command{INIT_FRAME_PARSER, 0}, Command{PARSE_FRAMES, 0}));
  decoder.fake.commands.clear();
  MediaBytes unit = joinLengthPrefixed({{0x65, 9}});
  decoder.add(unit, 0, 1);
  // The record changes while a unit is queued.
  const MediaBytes other{0x67, 77, 0, 40, 1, 2, 3, 4};
  EXPECT_EQ(decoder.configure(makeAvcRecord({other, kPps})), 0u);
  EXPECT_TRUE(decoder.fake.commands.empty());
  decoder.fake.pieces.clear();
  decoder.step();
  EXPECT_EQ(decoder.fake.pieces[1], afterCode(other));

  H264 refused;
  refused.fake.states = {0, PARSE_DONE_FLAG};
  EXPECT_EQ(refused.configure(avcRecord()), static_cast<uint32_t>(-2));
}

TEST(DecoderDriver, GivesAUnitUpAfterAHundredRounds) {
  H264 decoder;
  decoder.fake.takes = 0;
  MediaBytes bytes = joinLengthPrefixed({{0x41, 1}});
  decoder.add(bytes, 0, 2);
  EXPECT_EQ(decoder.step(), DecodeFlagAborted | DecodeFlagInputDone);
  EXPECT_EQ(decoder.fake.feeds, 101);
  EXPECT_EQ(decoder.isFrameDone(), 1);
}

TEST(DecoderDriver, FeedsARemainderAgainWithoutItsRecord) {
  MP4 decoder;
  decoder.fake.takes = 4;
  MediaBytes bytes{1, 2, 3, 4, 5, 6};
  decoder.add(bytes, 1234, 1);
  decoder.step();
  EXPECT_THAT(decoder.fake.pieces, ElementsAre(MediaBytes{1, 2, 3, 4}, MediaBytes{5, 6}));
  EXPECT_THAT(decoder.fake.commands, ElementsAre(Command{SET_USER_DATA, 0}, Command{END_OF_UNIT, 0}));
  EXPECT_EQ(decoder.fake.recordSize, 16u);
}

TEST(DecoderDriver, TurnsTheParseStateIntoTheStatusWord) {
  const uint32_t base = DecodeFlagInputDone | DecodeFlagPictureDone;
  const struct {
    uint32_t state, status;
  } cases[] = {
      {0, DecodeFlagInputDone},
      {kPicture, base | DecodeFlagFrameAvailable},
      {kPicture | PIC_ERROR_FLAG, base | DecodeFlagFrameAvailable | DecodeFlagFrameError},
      {kPicture & ~PIC_FULL_FLAG, base | DecodeFlagFrameAvailable | DecodeFlagFrameNotReady},
      {kPicture | SEQ_HDR_FLAG, base | DecodeFlagFrameAvailable | DecodeFlagInfoUpdated},
      {kPicture & ~PIC_VALID_FLAG, base},
  };
  for (const auto& row : cases) {
    H264 decoder;
    MediaBytes bytes = joinLengthPrefixed({{0x41, 1}});
    decoder.add(bytes, 500, 2);
    decoder.fake.states = {0, 0, row.state};
    EXPECT_EQ(decoder.step(), row.status) << std::hex << row.state;
    if ((row.status & DecodeFlagFrameAvailable) != 0) {
      EXPECT_EQ(decoder.getDecodedFrameTimecode(), 500u);
      EXPECT_EQ(decoder.getDecodedFrameType(), 2u);
    }
  }
  // Without stream information the two families differ.
  H264 h264;
  MP2 mp2;
  h264.fake.sequenceKnown = mp2.fake.sequenceKnown = false;
  MediaBytes unit = joinLengthPrefixed({{0x41, 1}});
  h264.add(unit);
  mp2.add(unit);
  h264.fake.states = {0, 0, kPicture | SEQ_HDR_FLAG};
  mp2.fake.states = {kPicture | SEQ_HDR_FLAG};
  EXPECT_EQ(h264.step() & DecodeFlagInfoUpdated, 0u);
  EXPECT_EQ(mp2.step() & DecodeFlagInfoUpdated, DecodeFlagInfoUpdated);
}

TEST(DecoderDriver, DerivesTheDisplaySize) {
  const auto sizeOf = [](auto& decoder, mc_seq_params_ex_t info) {
    MediaBytes unit = joinLengthPrefixed({{0x41, 1}});
    decoder.fake.sequence = info;
    decoder.add(unit);
    decoder.fake.states = {kPicture | SEQ_HDR_FLAG};
    decoder.step();
    return std::pair(decoder.getDisplayWidth(), decoder.getDisplayHeight());
  };
  H264 h264;
  MP4 mp4;
  MP2 mp2;
  using Pair = std::pair<uint32_t, uint32_t>;
  EXPECT_EQ(sizeOf(h264, sequenceOf(720, 576, 16, 9, 0)), Pair(1024, 576));
  EXPECT_EQ(sizeOf(h264, sequenceOf(720, 576, 0, 0, 0)), Pair(576, 720));
  EXPECT_EQ(sizeOf(h264, sequenceOf(16000, 16000, 2000000, 1000000, 0)), Pair(32000, 16000));
  EXPECT_EQ(sizeOf(mp4, sequenceOf(720, 576, 12, 11, 0)), Pair(785, 576));
  EXPECT_EQ(sizeOf(mp4, sequenceOf(720, 576, 0, 0, 0)), Pair(720, 576));
  const uint32_t widths[] = {720, 576, 768, 1024, 1272, 720};
  for (int32_t code = 0; code < 6; ++code)
    EXPECT_EQ(sizeOf(mp2, sequenceOf(720, 576, 0, 0, code)), Pair(widths[code], 576)) << code;
}

TEST(DecoderDriver, FetchesEachFieldAtDoubleRate) {
  const auto selections = [](auto& decoder, bool topFirst) {
    decoder.setParameterValue(1, int64_t{1});
    decoder.fake.picture.progressive_frame = 0;
    decoder.fake.picture.top_field_first = topFirst ? 1 : 0;
    VideoFrameBuffer frame;
    std::vector<uint64_t> seen;
    for (uint64_t time : {100u, 140u}) {
      MediaBytes unit = joinLengthPrefixed({{0x41, 1}});
      decoder.add(unit, time, 2);
      decoder.fake.states = {0, 0, kPicture};
      while (decoder.isFrameDone() == 0) decoder.step();
      decoder.fake.commands.clear();
      for (int fetch = 0; fetch < 2; ++fetch) {
        decoder.getDecodedFrame(frame);
        seen.push_back(decoder.fake.commands.back().value);
        seen.push_back(frame.getTimecode());
      }
    }
    return seen;
  };
  const uint64_t top[] = {0x100, 100, 0x300, 120, 0x100, 140, 0x300, 160};
  const uint64_t bottom[] = {0x300, 100, 0x100, 120, 0x300, 140, 0x100, 160};
  H264 h264Top, h264Bottom;
  EXPECT_THAT(selections(h264Top, true), ElementsAreArray(top));
  EXPECT_THAT(selections(h264Bottom, false), ElementsAreArray(bottom));
  MP2 mp2;
  mp2.fake.states = {kPicture};
  mp2.setParameterValue(1, int64_t{1});
  mp2.fake.picture.progressive_frame = 1;
  MediaBytes unit{1, 2, 3};
  mp2.add(unit, 100, 1);
  mp2.step();
  VideoFrameBuffer frame;
  for (const uint64_t time : {100u, 120u}) {
    mp2.getDecodedFrame(frame);
    EXPECT_EQ(mp2.fake.commands.back(), (Command{GET_PIC, 0}));
    EXPECT_EQ(frame.getTimecode(), time);
  }
}

/// Adds units of 8 equal bytes, one of the number each, and gives back the memory of a unit when the next one
/// has been added; 0 stands for an empty unit.
void addAsHostsDo(MP2& decoder, std::initializer_list<uint8_t> numbers) {
  MediaBytes previous;
  for (const uint8_t number : numbers) {
    MediaBytes unit(number != 0 ? 8 : 0, number);
    unit.shrink_to_fit();
    EXPECT_EQ(decoder.add(unit, number, 1), kSuccess);
    std::fill(previous.begin(), previous.end(), uint8_t{0xEE});
    previous = std::move(unit);
  }
  std::fill(previous.begin(), previous.end(), uint8_t{0xEE});
}

std::vector<int> numbersOf(MP2& decoder) {
  decoder.step();
  std::vector<int> numbers;
  for (const MediaBytes& piece : decoder.fake.pieces) {
    EXPECT_EQ(piece, MediaBytes(8, piece[0]));
    numbers.push_back(piece[0]);
  }
  decoder.fake.pieces.clear();
  return numbers;
}

TEST(DecoderDriver, QueuesTenMpeg2UnitsWithBytesOfItsOwn) {
  MP2 decoder;
  addAsHostsDo(decoder, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0});
  EXPECT_THAT(numbersOf(decoder), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
  addAsHostsDo(decoder, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0});
  EXPECT_THAT(numbersOf(decoder), ElementsAre(11));
  addAsHostsDo(decoder, {1, 0, 2, 0, 0, 3, 0});
  EXPECT_THAT(numbersOf(decoder), ElementsAre(1, 2, 3));
  // A remainder that waits is copied from where it stands.
  decoder.fake.takes = 8;
  decoder.fake.states = {kPicture};
  MediaBytes large(16, 4);
  decoder.add(large, 0, 1);
  decoder.step();
  addAsHostsDo(decoder, {5, 0});
  large.assign(16, 0xEE);
  EXPECT_THAT(numbersOf(decoder), ElementsAre(4, 4, 5));
}

TEST(DecoderDriver, LosesOnlyTheMpeg2UnitThatFindsNoMemoryToWait) {
  MP2 decoder;
  MediaBytes first(8, 1), second(8, 2), third(8, 3);
  decoder.add(first);
  memoryFails = true;
  EXPECT_EQ(decoder.add(second), kFailure);
  memoryFails = false;
  first.assign(8, 0xEE);
  EXPECT_EQ(decoder.add(third), kSuccess);
  second.assign(8, 0xEE);
  EXPECT_THAT(numbersOf(decoder), ElementsAre(2, 3));
}

TEST(DecoderDriver, FlushesUntilNothingComes) {
  H264 decoder;
  decoder.fake.states = {kPicture};
  decoder.fake.takes = 0;
  uint32_t flags = 0;
  decoder.flush(&flags);
  EXPECT_EQ(flags,
            DecodeFlagInputDone | DecodeFlagFlushed | DecodeFlagFrameAvailable | DecodeFlagPictureDone);
  decoder.flush(&flags);
  EXPECT_EQ(flags, DecodeFlagInputDone | DecodeFlagFlushed);
  VideoDecoderH264 closed;
  closed.flush(&flags);
  EXPECT_EQ(flags, DecodeFlagInputDone | DecodeFlagFlushed);
  EXPECT_EQ(closed.decode(&flags), 0u);
  EXPECT_EQ(closed.close(), 0u);
}

TEST(ParameterSets, GoThroughRecordsAndAnnexB) {
  ParameterSets avc;
  EXPECT_EQ(avc.readAvcRecord(avcRecord(2)).field, nullptr);
  EXPECT_EQ(avc.nalUnitLen, 2u);
  EXPECT_EQ(avc.avcRecord(), avcRecord(2));
  MediaBytes joined = afterCode(kSps);
  const MediaBytes pps = afterCode(kPps);
  joined.insert(joined.end(), pps.begin(), pps.end());
  EXPECT_EQ(avc.annexB(), joined);
  // What overruns a record leaves the sets as they were.
  ParameterSets::Overrun overrun = avc.readAvcRecord(ParameterSets::View(joined).first(7));
  EXPECT_STREQ(overrun.field, "spsOffset");
  MediaBytes lying = avcRecord();
  lying.pop_back();
  overrun = avc.readAvcRecord(lying);
  EXPECT_STREQ(overrun.field, "ppsLen");
  EXPECT_EQ(overrun.value, kPps.size());
  EXPECT_EQ(avc.annexB(), joined);
  avc.spsFrame.resize(0x10004);
  EXPECT_TRUE(avc.avcRecord().empty());

  MediaBytes record(22);
  record[21] = 1;
  // Two sequence sets, of which the last counts, a message, and a picture set whose length lies.
  for (const uint8_t byte :
       {3, 33, 0, 2, 0, 2, 0x42, 6, 0, 2, 0x42, 9, 39, 0, 1, 0, 1, 7, 34, 0, 1, 0, 3, 0x44, 1})
    record.push_back(byte);
  ParameterSets hevc;
  hevc.readHevcRecord(record);
  EXPECT_EQ(hevc.nalUnitLen, 2u);
  EXPECT_EQ(hevc.annexB(), afterCode({0x42, 9}));
}

TEST(H264Utils, BreaksAnnexBIntoUnitsUpToTheFirstSlice) {
  MediaBytes bytes{0, 0, 0, 1, 9, 0x50};
  for (const MediaBytes& unit : {kSps, kPps, MediaBytes{0x65, 1, 2, 0, 0, 1, 9, 9, 9, 9}}) {
    const MediaBytes piece = afterCode(unit);
    bytes.insert(bytes.end(), piece.begin() + (unit == kPps ? 1 : 0), piece.end());
  }
  H264UtilsFrameNALUnits units;
  H264Utils::breakH264FrameIntoNALUnits(bytes.data(), static_cast<uint32_t>(bytes.size()), units);
  ASSERT_EQ(units.nalUnits.size(), 4u);
  EXPECT_EQ(units.frameType, 1u);
  EXPECT_EQ(units.audIndex, 0);
  EXPECT_EQ(units.spsIndex, 1);
  EXPECT_EQ(units.ppsIndex, 2);
  EXPECT_EQ(units.sliceIndex, 3);
  EXPECT_EQ(units.nalUnits[1].len, kSps.size());
  EXPECT_EQ(units.nalUnits[3].len, 10u);
  EXPECT_EQ(units.totalSize, 2 + kSps.size() + kPps.size() + 10);
  MediaBytes record(H264Utils::codecConfigInfoToAVCCLen(units));
  EXPECT_EQ(record.size(), kSps.size() + kPps.size() + 11);
  H264Utils::codecConfigInfoToAVCC(units, record.data());
  EXPECT_EQ(record, makeAvcRecord({kSps, kPps}));
  for (uint32_t len = 0; len < bytes.size(); ++len) {
    MediaBytes cut(bytes.begin(), bytes.begin() + len);
    H264Utils::breakH264FrameIntoNALUnits(cut.data(), len, units);
    EXPECT_LE(units.totalSize, len);
  }
}

TEST(H264Utils, WritesFrameRatesAsFractions) {
  const struct {
    double rate;
    uint32_t numerator, denominator;
  } cases[] = {{25, 25, 1},           {29.97, 30000, 1001}, {23.976, 24000, 1001},
               {12.5, 125000, 10000}, {-1, 0, 1},           {1e300, 0, 1}};
  for (const auto& row : cases) {
    uint32_t numerator = 9, denominator = 9;
    H264Utils::convertFrameRate(row.rate, &numerator, &denominator);
    EXPECT_EQ(numerator, row.numerator) << row.rate;
    EXPECT_EQ(denominator, row.denominator) << row.rate;
  }
}

}  // namespace
}  // namespace qvs::test
