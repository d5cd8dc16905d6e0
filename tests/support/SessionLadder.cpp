#include "support/SessionLadder.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace qvs::test {

namespace {

void check(uint32_t result, const char* operation) {
  if (result != 0) throw std::runtime_error(std::string(operation) + " failed");
}

}  // namespace

SessionLadder::SessionLadder(LadderSettings settings)
    : settings(std::move(settings)), transcoder(std::make_unique<TranscoderSession>()) {
  encoded.resize(this->settings.renditions.size());
  setUp();
}

void SessionLadder::setUp() {
  TranscoderSession& s = *transcoder;
  check(s.initialize(), "initialize");
  check(s.videoDecoderCreate(0, 8, settings.codecVersion, 8, 0, settings.fourcc), "videoDecoderCreate");
  check(s.videoDecoderInitialize(), "videoDecoderInitialize");
  check(s.videoScalerCreate(settings.fourcc, 8), "videoScalerCreate");
  check(s.videoScalerSetImplementation2(1, 0), "videoScalerSetImplementation2");
  s.setVideoScalerFlags(settings.scalerFlags);
  check(s.videoDecoderBuffersCreate(settings.poolSize), "videoDecoderBuffersCreate");
  check(s.videoDecoderSetFrameSizeLimits(0, 0, 0, 0), "videoDecoderSetFrameSizeLimits");
  check(s.videoEncoderBufferSetsCreate(settings.poolSize), "videoEncoderBufferSetsCreate");
  for (const RenditionSettings& rendition : settings.renditions) addRendition(rendition);
  check(s.videoScalerInitialize(), "videoScalerInitialize");
  check(s.videoDecoderDecodeCodecConfig(nullptr, 0, 0), "videoDecoderDecodeCodecConfig");
}

void SessionLadder::addRendition(const RenditionSettings& rendition) {
  TranscoderSession& s = *transcoder;
  int32_t index = -1;
  check(s.videoEncoderAdd(8, rendition.codecVersion, 8, rendition.fourcc, 0, &index), "videoEncoderAdd");
  const auto encoder = static_cast<uint32_t>(index);
  check(s.videoEncoderSetDefaults(encoder, 0, 0), "videoEncoderSetDefaults");
  check(s.videoEncoderSetFrameSize(encoder, rendition.width, rendition.height), "videoEncoderSetFrameSize");
  check(s.videoEncoderSetFrameRate(encoder, rendition.frameRate), "videoEncoderSetFrameRate");
  check(s.videoEncoderSetBitrate(encoder, rendition.bitrate), "videoEncoderSetBitrate");
  check(s.videoEncoderSetFrameIndex(encoder, index), "videoEncoderSetFrameIndex");
  check(s.videoEncoderSetKeyFrameFollow(encoder, 1), "videoEncoderSetKeyFrameFollow");
  for (const auto& [key, value] : rendition.parameters)
    s.videoEncoderSetParameterValueLong(encoder, key, value);
  check(s.videoEncoderApplyParameters(encoder), "videoEncoderApplyParameters");
  uint32_t set = 0;
  check(s.videoEncoderBufferSetAlloc(&set), "videoEncoderBufferSetAlloc");
  check(
      s.videoEncoderBufferAdd(rendition.width, rendition.height, rendition.fitMode, rendition.fourcc, 0, set),
      "videoEncoderBufferAdd");
  check(s.videoEncoderInitialize(encoder), "videoEncoderInitialize");
}

bool SessionLadder::decode(const CodedPacket& packet, uint64_t timecode, uint32_t frameType) {
  releaseDecoded();
  TranscoderSession& s = *transcoder;
  check(s.videoDecoderAddFrame(CodedBlock::copyOf(packet.bytes), timecode, frameType),
        "videoDecoderAddFrame");
  check(s.videoDecoderBufferAllocate(&decodedIndex), "videoDecoderBufferAllocate");
  holdsPicture = true;
  status = 0;
  info = {};
  std::vector<VideoFrameAncillaryData> ancillary;
  check(s.videoDecoderDecode(decodedIndex, &status, &decodedTimecode, ancillary, info), "videoDecoderDecode");
  if ((status & 4) != 0 && (status & 8) == 0) return true;
  releaseDecoded();
  return false;
}

VideoFrameBuffer* SessionLadder::decodedFrame() {
  return holdsPicture ? transcoder->getVideoDecoderBuffer(decodedIndex) : nullptr;
}

void SessionLadder::releaseDecoded() {
  if (holdsPicture) check(transcoder->videoDecoderBufferRelease(decodedIndex), "videoDecoderBufferRelease");
  holdsPicture = false;
}

void SessionLadder::encode(uint32_t frameType) {
  TranscoderSession& s = *transcoder;
  std::vector<uint32_t> targets(settings.renditions.size());
  for (uint32_t i = 0; i < targets.size(); ++i) {
    check(s.videoEncoderBufferAllocate(i, &targets[i]), "videoEncoderBufferAllocate");
  }
  check(s.videoDecoderTransferFrameStart(decodedIndex, targets), "videoDecoderTransferFrameStart");
  for (uint32_t i = 0; i < targets.size(); ++i) {
    check(s.videoDecoderTransferFrame(decodedIndex, targets[i], i), "videoDecoderTransferFrame");
    check(s.videoEncoderAddFrame(i, targets[i], i, frameType, decodedTimecode), "videoEncoderAddFrame");
  }
  for (uint32_t i = 0; i < targets.size(); ++i) {
    collect(i);
    check(s.videoEncoderBufferRelease(i, targets[i]), "videoEncoderBufferRelease");
  }
  releaseDecoded();
}

bool SessionLadder::transcode(const CodedPacket& packet) {
  if (!decode(packet, packet.timecode)) return false;
  encode();
  return true;
}

void SessionLadder::collect(size_t index) {
  std::vector<VideoFrameEncoded> frames;
  check(transcoder->videoEncoderGetEncodedFrames(static_cast<uint32_t>(index), frames),
        "videoEncoderGetEncodedFrames");
  for (const VideoFrameEncoded& frame : frames) {
    const uint8_t* bytes = frame.getBuffer();
    encoded[index].push_back({{bytes, bytes + frame.getLen()}, frame.getTimecode(), frame.getFrameType()});
    if (frame.isAllocated()) std::free(frame.getBuffer());
  }
}

std::vector<LogStatement> SessionLadder::takeLog() {
  std::vector<LogStatement> lines;
  transcoder->getLogCollector().getLogStatements(lines);
  return lines;
}

}  // namespace qvs::test
