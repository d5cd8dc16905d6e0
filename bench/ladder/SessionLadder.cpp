// The measured ladders in terms of the session driver.

#include "ladder/SessionLadder.h"

#include "hardware/HardwareInspector.h"

namespace qvs::bench {
namespace {

struct CodecNumbers {
  uint32_t id, version;
};

constexpr uint32_t kHevcKeyThreads = 80013;

CodecNumbers numbersOf(Codec codec) {
  if (codec == Codec::kH264) return {kVideoCodecH264, 0};
  if (codec == Codec::kH265) return {kVideoCodecH265, 0};
  return {kVideoCodecVPX, codec == Codec::kVP9 ? 9u : 8u};
}

test::SessionSetup setupOf(const LadderSpec& ladder, Codec from, std::span<uint8_t> config, bool parallel,
                           std::vector<PacketSink>& sinks) {
  const auto [id, version] = numbersOf(from);
  test::SessionSetup setup{.codec = id,
                           .codecVersion = version,
                           .config = config,
                           .decoderParameters = test::oneThreadDecoding(id)};
  setup.sink = [&sinks](uint32_t rung, const VideoFrameEncoded& unit) {
    sinks[rung].write(unit.getBuffer(), unit.getLen());
  };
  const auto [rungId, rungVersion] = numbersOf(ladder.codec);
  HardwareInspector::getInstance()->setNativePath(HardwareInspector::kNativePath, QVS_PLUGIN_DIR);
  for (const Rung& rung : ladder.rungs) {
    setup.rungs.push_back({.width = rung.width,
                           .height = rung.height,
                           .bitrate = rung.bitrate,
                           .codec = rungId,
                           .codecVersion = rungVersion,
                           .frameRate = kFrameRate,
                           .asynchronous = parallel});
    // As a host leaves it: each rung has a pool of the machine's share, as each of ffmpeg's encoders has.
    if (rungId == kVideoCodecH265) setup.rungs.back().parameters = {{kHevcKeyThreads, 0}};
  }
  return setup;
}

std::vector<PacketSink> sinksOf(const LadderSpec& ladder, const std::string& folder) {
  std::vector<PacketSink> sinks;
  for (const Rung& rung : ladder.rungs) sinks.emplace_back(folder, ladder, rung);
  return sinks;
}

}  // namespace

SessionLadder::SessionLadder(const LadderSpec& ladder, Codec from, std::span<uint8_t> config, bool parallel,
                             const std::string& outputFolder)
    : sinks(sinksOf(ladder, outputFolder)), driver(setupOf(ladder, from, config, parallel, sinks)) {}

void SessionLadder::transcode(std::span<const uint8_t> packet, uint64_t frameNumber) {
  const auto timecode = static_cast<uint64_t>(static_cast<double>(frameNumber) * 1000.0 / kFrameRate);
  if (driver.decode(packet, timecode, isKeyFrame(frameNumber) ? 1 : 2))
    driver.encode(isKeyFrame(pictures++) ? 1 : 2);
}

}  // namespace qvs::bench
