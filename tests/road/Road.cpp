#include "road/Road.h"

#include <array>
#include <cstdlib>
#include <cstring>

#include "contract/DecodeFlags.h"
#include "frames/geometry/FourCC.h"
#include "support/TestPicture.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs::test {
namespace {

constexpr uint32_t kYV12 = fourcc("YV12");
constexpr uint32_t kNoBuffer = ~0u;
constexpr size_t kMostRungs = 4;

/// The packed planes of a "YV12" frame in the order Y, U, V.
void copyPicture(const VideoFrameBuffer& frame, DecodedPicture& picture) {
  static constexpr uint32_t kPlaneOf[3] = {0, 2, 1};
  picture.width = frame.getWidth();
  picture.height = frame.getHeight();
  for (uint32_t plane = 0; plane < 3; ++plane) {
    const uint32_t width = plane ? picture.width / 2 : picture.width;
    const uint32_t height = plane ? picture.height / 2 : picture.height;
    const auto* row = frame.getPlane(kPlaneOf[plane]);
    if (!row) continue;
    for (uint32_t y = 0; y < height; ++y, row += frame.getStride(kPlaneOf[plane])) {
      picture.planes[plane].insert(picture.planes[plane].end(), row, row + width);
    }
  }
}

}  // namespace

std::vector<Packet> makePackets(uint32_t codecVersion, uint32_t width, uint32_t height, uint32_t frames) {
  std::vector<Packet> packets;
  for (auto& packet : makeStream(codecVersion, width, height, frames).packets) {
    packets.push_back(std::move(packet.bytes));
  }
  return packets;
}

bool Road::open() {
  session.initialize();
  if (session.videoDecoderCreate(0, setup.codec, setup.codecVersion, 8, 0, kYV12) ||
      session.videoDecoderInitialize() || session.videoScalerCreate(kYV12, 8) ||
      session.videoScalerSetImplementation2(kScaleCPU, -1) ||
      session.videoDecoderBuffersCreate(setup.decoderFrames) ||
      session.videoDecoderSetFrameSizeLimits(4096, 4096, 0, 0) ||
      session.videoEncoderBufferSetsCreate(setup.rungFrames)) {
    return false;
  }
  for (const auto& rung : setup.rungs) {
    if (!addRung(rung)) return false;
  }
  return session.videoScalerInitialize() == 0 && session.videoDecoderDecodeCodecConfig(nullptr, 0, 0) == 0;
}

bool Road::addRung(const RoadRung& rung) {
  int32_t added = -1;
  if (session.videoEncoderAdd(kVideoCodecVPX, 8, 8, kYV12, 0, &added)) return false;
  const auto encoder = static_cast<uint32_t>(added);
  uint32_t set = 0;
  return !(session.videoEncoderSetDefaults(encoder, 0, 0) ||
           session.videoEncoderSetFrameSize(encoder, rung.width, rung.height) ||
           session.videoEncoderSetFrameRate(encoder, 30.0) ||
           session.videoEncoderSetBitrate(encoder, 400'000) ||
           session.videoEncoderSetFrameIndex(encoder, added) ||
           session.videoEncoderSetKeyFrameFollow(encoder, 1) ||
           session.videoEncoderSetParameterValueLong(encoder, VideoEncoderVPX::kKeyThreadCount, 1) ||
           session.videoEncoderSetParameterValueLong(encoder, VideoEncoderVPX::kKeyAsynchronous,
                                                     setup.asynchronous) ||
           session.videoEncoderApplyParameters(encoder) || session.videoEncoderBufferSetAlloc(&set) ||
           session.videoEncoderBufferAdd(rung.width, rung.height, setup.fitMode, kYV12, 0, set) ||
           session.videoEncoderInitialize(encoder));
}

RoadResult Road::feed(std::span<const uint8_t> packet, uint64_t timecode, uint32_t frameType) {
  RoadResult result;
  CodedBlock block = CodedBlock::copyOf(packet);
  if (!block) {
    result.failed = true;
    return result;
  }
  result.failed |= session.videoDecoderAddFrame(std::move(block), timecode, frameType) != 0;
  uint32_t buffer = kNoBuffer;
  if (session.videoDecoderBufferAllocate(&buffer)) {
    result.failed = true;
    return result;
  }
  takePicture(buffer, timecode, frameType, result);
  result.failed |= session.videoDecoderBufferRelease(buffer) != 0;
  return result;
}

void Road::takePicture(uint32_t buffer, uint64_t timecode, uint32_t frameType, RoadResult& result) {
  uint32_t status = 0;
  uint64_t decodedTimecode = 0;
  std::vector<VideoFrameAncillaryData> ancillaryData;
  TranscoderVideoDecoderFrameInfo info;
  if (session.videoDecoderDecode(buffer, &status, &decodedTimecode, ancillaryData, info)) {
    result.failed = true;
    return;
  }
  if (!(status & DecodeFlagFrameAvailable) || (status & DecodeFlagFrameNotReady)) return;
  result.picture = true;
  result.timecode = decodedTimecode;
  if (picturesKept) copyPicture(*session.getVideoDecoderBuffer(buffer), result.decoded);
  encode(buffer, timecode, frameType, result);
}

void Road::encode(uint32_t buffer, uint64_t timecode, uint32_t frameType, RoadResult& result) {
  std::array<uint32_t, kMostRungs> targets;
  targets.fill(kNoBuffer);
  const auto count = static_cast<uint32_t>(setup.rungs.size());
  for (uint32_t i = 0; i < count; ++i)
    result.failed |= session.videoEncoderBufferAllocate(i, &targets[i]) != 0;
  result.failed |= session.videoDecoderTransferFrameStart(buffer, std::span(targets.data(), count)) != 0;
  for (uint32_t i = 0; i < count; ++i) {
    if (targets[i] == kNoBuffer) continue;
    result.failed |= session.videoDecoderTransferFrame(buffer, targets[i], i) != 0;
    result.failed |= session.videoEncoderAddFrame(i, targets[i], i, frameType, timecode) != 0;
  }
  for (uint32_t i = 0; i < count; ++i) {
    takePackets(i, result);
    if (targets[i] != kNoBuffer) result.failed |= session.videoEncoderBufferRelease(i, targets[i]) != 0;
  }
}

void Road::takePackets(uint32_t rung, RoadResult& result) {
  std::vector<VideoFrameEncoded> encoded;
  result.failed |= session.videoEncoderGetEncodedFrames(rung, encoded) != 0;
  for (auto& unit : encoded) {
    packets.add(unit.getBuffer(), unit.getLen());
    ++result.packetCount;
    if (unit.isAllocated()) std::free(unit.getBuffer());
  }
}

}  // namespace qvs::test
