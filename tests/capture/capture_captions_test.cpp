// Captions from a device's vertical blanking into coded pictures, read back by the ffmpeg tools.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "capture/CaptureDeviceBase.h"
#include "capture/CaptureDirectory.h"
#include "capture/CaptureManager.h"
#include "capture/CaptureUtils.h"
#include "session/CaptionCarrier.h"
#include "support/SessionDriver.h"

namespace qvs::test {
namespace {

using testing::HasSubstr;

constexpr uint8_t kAny[] = {0};
constexpr uint32_t kBFrames = 10003;  ///< B pictures and one

/// Sends what it is told to.
class ScriptedDevice : public CaptureDeviceBase {
 public:
  void send(uint64_t timecode, const std::vector<VideoFrameAncillaryData>& packets) {
    CaptureFrame* const frame = createCaptureFrameVideo(64, 48, kFourCCYV12, &frames);
    VideoFrameBuffer& picture = *frame->getVideoFrameBuffer();
    picture.blackFill();
    picture.setTimecode(timecode);
    picture.setLocations(VideoFrameBuffer::systemMem);
    for (const VideoFrameAncillaryData& packet : packets) picture.addAncillaryDataObj(packet);
    if (addCaptureFrameToFrameSinks(frame) == 0) CaptureUtils::deleteCaptureFrame(frame);
  }

 private:
  VideoFrameBufferSet frames;
};

uint8_t withParity(int value) {
  return static_cast<uint8_t>(value | (__builtin_parity(static_cast<unsigned>(value)) != 0 ? 0 : 0x80));
}

/// A distribution packet with a pair of the first field, and padding behind it, its words with parity bits.
VideoFrameAncillaryData distribution(int first, int second, bool timecode) {
  std::vector<int> bytes = {0x96, 0x69, 0, 0x4F, timecode ? 0xC3 : 0x43, 0, 1};
  if (timecode) bytes.insert(bytes.end(), {0x71, 0, 0, 0, 0});
  bytes.insert(bytes.end(), {0x72, 0xE0 | 3, 0xFC, withParity(first), withParity(second)});
  bytes.insert(bytes.end(), {0xF9, 0x80, 0x80, 0xFA, 0, 0, 0x74, 0, 1, 0});
  VideoFrameAncillaryData packet;
  packet.did = 0x61;
  packet.sid = 0x01;
  for (const int byte : bytes) packet.buffer[packet.bufferLen++] = 0x200 | byte;
  packet.dc = static_cast<int32_t>(packet.bufferLen);
  return packet;
}

/// Pairs of a caption that pops on, then goes.
std::vector<std::pair<int, int>> popOn(const std::string& text) {
  std::vector<std::pair<int, int>> pairs = {{0x14, 0x20}, {0x14, 0x20}, {0x14, 0x2E},
                                            {0x14, 0x2E}, {0x14, 0x70}, {0x14, 0x70}};
  for (size_t i = 0; i < text.size(); i += 2)
    pairs.emplace_back(text[i], i + 1 < text.size() ? text[i + 1] : 0);
  pairs.insert(pairs.end(), {{0x14, 0x2F}, {0x14, 0x2F}});
  pairs.insert(pairs.end(), 40, {0, 0});
  pairs.insert(pairs.end(), {{0x14, 0x2C}, {0x14, 0x2C}});
  return pairs;
}

void writeStartCodes(const std::vector<EncodedUnit>& units, const std::string& file) {
  std::ofstream out(file, std::ios::binary);
  for (const EncodedUnit& unit : units) {
    for (size_t at = 0; at + 4 < unit.bytes.size();) {
      const size_t length = size_t{unit.bytes[at]} << 24 | size_t{unit.bytes[at + 1]} << 16 |
                            size_t{unit.bytes[at + 2]} << 8 | unit.bytes[at + 3];
      out.write("\0\0\0\1", 4);
      out.write(reinterpret_cast<const char*>(&unit.bytes[at + 4]), static_cast<std::streamsize>(length));
      at += 4 + length;
    }
  }
}

/// What ffmpeg reads: coded once more, for only containers have the times that it wants.
std::string subtitles(const std::string& file) {
  const std::string timed = file + ".mkv";
  const std::string command =
      "ffmpeg -loglevel error -r 25 -i " + file + " -c:v libx264 -preset ultrafast -bf 0 " + timed +
      " && ffmpeg -loglevel error -f lavfi -i 'movie=" + timed + "[out0+subcc]' -map 0:s -f srt -";
  std::FILE* const pipe = popen(command.c_str(), "r");
  std::string text(4096, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), pipe));
  pclose(pipe);
  return text;
}

TEST(CaptureCaptions, ComeThroughReorderingAndAtHalfTheRate) {
  const CaptureDirectory folder;
  std::filesystem::create_directories(folder.path());
  auto owned = std::make_unique<ScriptedDevice>();
  ScriptedDevice& device = *owned;
  CaptureManager::getInstance()->addDevice(std::move(owned));
  const RungSetup whole{.width = 64,
                        .height = 48,
                        .codec = kVideoCodecH264,
                        .parameters = {{kBFrames, 3}, {kKeyCarryCaptions, 1}}};
  const RungSetup half{
      .width = 64, .height = 48, .codec = kVideoCodecH264, .parameters = {{kKeyCarryCaptions, 1}}};
  const RungSetup without{.width = 64, .height = 48, .codec = kVideoCodecH264};
  SessionDriver driver({.poolSize = 8,
                        .rungs = {whole, half, without},
                        .captureDevice = static_cast<int32_t>(device.getId())});
  driver.decode(kAny, 0);  // from here on there is a sink
  TranscoderSession& session = driver.session();
  EncodedVideoUnits coded[3];
  const auto encode = [&](uint32_t rung, uint32_t frameType, uint64_t time) {
    uint32_t target = 0;
    ASSERT_EQ(session.videoEncoderBufferAllocate(rung, &target), 0u);
    ASSERT_EQ(session.videoDecoderTransferFrame(driver.decodedFrameIndex(), target, rung), 0u);
    ASSERT_EQ(session.videoEncoderAddFrame(rung, target, rung, frameType, time), 0u);
    ASSERT_EQ(session.videoEncoderGetEncodedFrames(rung, coded[rung]), 0u);
    session.videoEncoderBufferRelease(rung, target);
  };
  uint64_t time = 0;
  for (const auto& [first, second] : popOn("HELLO, 4 LINES!")) {
    device.send(time, {distribution(first, second, time % 80 == 0)});
    ASSERT_TRUE(driver.decode(kAny, 0));
    ASSERT_EQ(session.videoDecoderTransferFrameStart(driver.decodedFrameIndex(), {}), 0u);
    for (uint32_t rung = 0; rung < 3; ++rung)
      if (rung != 1 || time % 80 == 0) encode(rung, time == 0 ? 1 : 2, time);
    time += 40;
  }
  for (uint32_t rung = 0; rung < 3; ++rung) {
    session.videoEncoderSetParameterValueLong(rung, 10201, 1);  // hand out what is held back
    session.videoEncoderGetEncodedFrames(rung, coded[rung]);
    std::vector<EncodedUnit> units;
    for (const VideoFrameEncoded& unit : coded[rung]) units.push_back(encodedUnit(unit));
    EXPECT_GT(units.size(), rung == 1 ? 25u : 50u);
    const std::string file = folder.path() + "/" + std::to_string(rung) + ".h264";
    writeStartCodes(units, file);
    if (rung == 2) {
      EXPECT_EQ(subtitles(file), "") << "nobody asked for them";
    } else {
      EXPECT_THAT(subtitles(file), HasSubstr("HELLO, 4 LINES!")) << rung;
    }
  }
}

TEST(CaptureCaptions, ReadNothingBehindAPacketsEnd) {
  VideoFrameAncillaryData packet = distribution('A', 'B', true);
  std::vector<CaptionFormat::Triplet> triplets;
  for (uint32_t words = packet.bufferLen; words-- > 0;) {
    packet.bufferLen = words;
    CaptionFormat::read(packet, triplets);
    ASSERT_LE(triplets.size(), 1u + 1u);
    if (words < 17) {
      EXPECT_TRUE(triplets.empty()) << words;
    }
    triplets.clear();
  }
  uint32_t len = 0;
  const uint8_t lies[] = {0xFF, 0xFF, 0xFF, 0xFF, 9, 0x10, 0, 0, 0, 1, 0x65};
  const CaptionFormat::Triplet one{0, 1, 2};
  EXPECT_EQ(CaptionFormat::insert(kVideoCodecH264, lies, {&one, 1}, &len), nullptr);
  EXPECT_EQ(CaptionFormat::insert(kVideoCodecH265, {}, {&one, 1}, &len), nullptr);
}

}  // namespace
}  // namespace qvs::test
