#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "video/encoders/NalUnits.h"
#include "video/encoders/VideoEncoderBufferStream.h"

namespace qvs {
namespace {

using Bytes = std::vector<uint8_t>;
using testing::ElementsAreArray;

constexpr uint64_t kNoTimecode = ~uint64_t{0};

uint32_t h264(Bytes& bytes) {
  return NalUnits::processH264Frame(bytes.data(), static_cast<uint32_t>(bytes.size()));
}
uint32_t h265(Bytes& bytes) {
  return NalUnits::processH265Frame(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

/// A unit behind a start code: type byte and `body` further bytes of 0xAA.
Bytes nal(uint8_t type, size_t body) {
  Bytes bytes = {0, 0, 0, 1, type};
  bytes.insert(bytes.end(), body, 0xAA);
  return bytes;
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

TEST(NalUnits, TurnsStartCodesIntoLengthsAtEveryAlignment) {
  for (size_t first = 1; first < 12; ++first) {
    for (size_t second = 1; second < 12; ++second) {
      Bytes bytes = nal(0x67, first) + nal(0x68, second) + nal(0x41, 9);
      Bytes want = bytes;
      want[3] = static_cast<uint8_t>(first + 1);
      want[first + 5 + 3] = static_cast<uint8_t>(second + 1);
      want[first + second + 10 + 3] = 10;
      EXPECT_EQ(h264(bytes), 1u);
      EXPECT_EQ(bytes, want) << first << " " << second;
    }
  }
}

TEST(NalUnits, WritesLongLengthsBigEndian) {
  Bytes bytes = nal(0x65, 0x012344);
  h264(bytes);
  EXPECT_THAT(Bytes(bytes.begin(), bytes.begin() + 4), ElementsAreArray({0x00, 0x01, 0x23, 0x45}));
}

TEST(NalUnits, ClassifiesH264) {
  const auto type = [](Bytes bytes) { return h264(bytes); };
  EXPECT_EQ(type(nal(0x41, 8)), 2u);
  EXPECT_EQ(type(nal(0x65, 8)), 1u);
  EXPECT_EQ(type(Bytes{0, 0, 0, 1, 9, 0x10} + nal(0x41, 8)), 1u);
  EXPECT_EQ(type(Bytes{0, 0, 0, 1, 9, 0x50} + nal(0x41, 8)), 3u);
  EXPECT_EQ(type(Bytes{0, 0, 0, 1, 9, 0x30} + nal(0x41, 8)), 2u);
  EXPECT_EQ(type({0, 0, 0, 1, 10}), 0u);
  EXPECT_EQ(type({0, 0, 0, 1, 10, 0xAA, 0xAA}), 0u);
  EXPECT_EQ(type({0, 0, 0, 1, 9}), 2u);  // a delimiter cut off before its body
}

TEST(NalUnits, ClassifiesH265) {
  const auto type = [](Bytes bytes) { return h265(bytes); };
  EXPECT_EQ(type(nal(19 << 1, 8)), 1u);
  EXPECT_EQ(type(nal(20 << 1, 8)), 1u);
  EXPECT_EQ(type(nal(1 << 1, 8)), 2u);
  EXPECT_EQ(type(Bytes{0, 0, 0, 1, 35 << 1, 1, 0x50} + nal(1 << 1, 8)), 3u);
  EXPECT_EQ(type(Bytes{0, 0, 0, 1, 35 << 1, 1}), 2u);
}

TEST(NalUnits, LeavesShortUnitsAndUnitsWithoutStartCode) {
  for (Bytes bytes : {Bytes{}, Bytes{0}, Bytes{0, 0, 0, 1}, Bytes(40, 0), Bytes(40, 1)}) {
    const Bytes before = bytes;
    EXPECT_EQ(h264(bytes), 2u);
    EXPECT_EQ(bytes, before);
  }
}

/// Plays the encoder's side of a stream.
class BufferStreamTest : public testing::Test {
 protected:
  ~BufferStreamTest() override {
    for (const VideoFrameEncoded& frame : frames) {
      if (frame.isAllocated()) std::free(frame.getBuffer());
    }
  }

  void announce(int64_t startMs) {
    mc_sample_info_struct_t info{startMs * 10000, 0, 0, 0};
    table.auxinfo(&table, 0, TIME_STAMP_INFO, &info, sizeof info);
  }

  void finish(int64_t dtsMs, int64_t ptsMs) {
    mc_v_au_struct_t unit{};
    unit.DTS = dtsMs * 27000;
    unit.PTS = ptsMs * 27000;
    table.auxinfo(&table, 0, VIDEO_AU_CODE, &unit, sizeof unit);
  }

  void unit(int64_t startMs, int64_t dtsMs, int64_t ptsMs, Bytes bytes = nal(0x41, 8)) {
    announce(startMs);
    table.copybytes(&table, bytes.data(), static_cast<uint32_t>(bytes.size()));
    finish(dtsMs, ptsMs);
  }

  /// The unit that came last.
  const VideoFrameEncoded& last() {
    stream.getEncodedFrames(frames);
    return frames.back();
  }

  VideoEncoderBufferStream stream;
  bufstream_tt& table = *stream.getStream();
  std::vector<VideoFrameEncoded> frames;
};

TEST_F(BufferStreamTest, TakesBytesUpToItsCapacity) {
  stream.setBufferSize(10);
  Bytes bytes(10, 7);
  EXPECT_EQ(table.copybytes(&table, bytes.data(), 11), 0u);
  EXPECT_EQ(table.copybytes(&table, bytes.data(), 6), 6u);
  EXPECT_EQ(table.copybytes(&table, bytes.data(), 5), 0u);
  EXPECT_EQ(table.copybytes(&table, bytes.data(), 0xFFFFFFFF), 0u);
  EXPECT_EQ(table.usable_bytes(&table), 6u);
  EXPECT_EQ(table.chunksize(&table), 4u);
  ASSERT_NE(table.request(&table, 100), nullptr);
  EXPECT_EQ(table.confirm(&table, 4), 4u);
  EXPECT_EQ(table.request(&table, 1), nullptr);
  EXPECT_EQ(table.confirm(&table, 4), 4u);  // an encoder that overdoes it does no harm
  EXPECT_EQ(table.chunksize(&table), 0u);
  table.auxinfo(&table, 0, STREAM_RESET_CODE, nullptr, 0);
  EXPECT_EQ(table.usable_bytes(&table), 0u);
}

TEST_F(BufferStreamTest, PairsUnitsWithTheInputsTimecodes) {
  stream.addFrameTimecode(40 * 10000);
  stream.addFrameTimecode(80 * 10000);
  unit(0, 0, 0);
  EXPECT_EQ(last().getTimecode(), 40u);
  unit(0, 0, 0);
  EXPECT_EQ(last().getTimecode(), 80u);
  unit(0, 0, 0);  // more units than inputs
  EXPECT_EQ(last().getTimecode(), kNoTimecode);
  EXPECT_EQ(frames.size(), 3u);
}

TEST_F(BufferStreamTest, StampsReorderedUnits) {
  stream.setIsBFrames(1);
  stream.addFrameTimecode(0);
  unit(1000, 1000, 1080);
  EXPECT_EQ(last().getTimecode(), 1000u);
  EXPECT_EQ(last().getTimecodeOffset(), 80);
}

TEST_F(BufferStreamTest, DerivesTimesFromTheInputAfterANegativeStart) {
  stream.setIsBFrames(1);
  for (uint64_t ms : {100, 100, 40}) stream.addFrameTimecode(ms * 10000);
  unit(60, -40, 0);  // decides for the whole stream
  unit(100, 0, 40);
  unit(100, 40, 80);
  stream.getEncodedFrames(frames);
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_EQ(frames[0].getTimecode(), 40u);
  EXPECT_EQ(frames[0].getTimecodeOffset(), 60);
  EXPECT_EQ(frames[1].getTimecode(), 100u);
  EXPECT_EQ(frames[1].getTimecodeOffset(), 0);
  EXPECT_EQ(frames[2].getTimecode(), 40u);
  EXPECT_EQ(frames[2].getTimecodeOffset(), 0);
}

TEST_F(BufferStreamTest, DropsUnitsOfNoUse) {
  unit(0, 0, 0, {0, 0, 0, 1, 10});
  finish(0, 0);  // nothing gathered
  EXPECT_EQ(stream.getEncodedFrameCount(), 0u);
  table.auxinfo(&table, 0, VIDEO_AU_CODE, nullptr, 0);
  table.auxinfo(&table, 0, 0x1234, nullptr, 0);
}

/// A host's arrays: counts what it gives and gets back.
struct HostArrays {
  int live = 0;
  int locked = 0;
  bool refuse = false;

  static void* create(void* host, uint32_t size) {
    auto& self = *static_cast<HostArrays*>(host);
    if (self.refuse) return nullptr;
    ++self.live;
    return std::malloc(size);
  }
  static void destroy(void* host, void* handle) {
    --static_cast<HostArrays*>(host)->live;
    std::free(handle);
  }
  static void* lockBytes(void* host, void* handle) {
    ++static_cast<HostArrays*>(host)->locked;
    return handle;
  }
  static void unlockBytes(void* host, void*, void*) { --static_cast<HostArrays*>(host)->locked; }
};

TEST(BufferStreamAllocator, UsesTheHostsArraysAndGivesBackWhatIsLeft) {
  HostArrays host;
  {
    VideoEncoderBufferStream stream;
    stream.setAllocator2(&host, HostArrays::create, HostArrays::destroy, HostArrays::lockBytes,
                         HostArrays::unlockBytes);
    bufstream_tt& table = *stream.getStream();
    mc_v_au_struct_t unit{};
    const auto write = [&](Bytes bytes) {
      table.copybytes(&table, bytes.data(), static_cast<uint32_t>(bytes.size()));
      table.auxinfo(&table, 0, VIDEO_AU_CODE, &unit, sizeof unit);
    };
    write(nal(0x65, 20));
    write({0, 0, 0, 1, 10});  // of no use: its array goes back at once
    EXPECT_EQ(host.live, 1);
    EXPECT_EQ(host.locked, 0);
    host.refuse = true;
    write(nal(0x65, 20));
    EXPECT_EQ(table.usable_bytes(&table), 0u);
    EXPECT_EQ(stream.getEncodedFrameCount(), 1u);
  }
  EXPECT_EQ(host.live, 0);
}

}  // namespace
}  // namespace qvs
