// The one wiring and feeding of a video session outside the virtual machine.

#include "support/SessionDriver.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "contract/DecodeFlags.h"
#include "contract/ScaleIds.h"
#include "video/decoders/VideoDecoderBufferStream.h"
#include "video/encoders/hosts/VideoEncoderPluginHost.h"
#include "video/encoders/VideoEncoderH264.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs::test {
namespace {

constexpr uint32_t kNoBuffer = ~0u;
constexpr uint32_t kLargestSide = 4096;
constexpr uint32_t kAvcKeyThreads = 10078;
constexpr uint32_t kHevcKeyPreset = 80000, kHevcKeyThreads = 80013;  // of the plug-in

struct FastSettings {
  uint32_t codec, speedKey;
  int64_t speed;
  uint32_t threadsKey, asynchronousKey;
};
constexpr FastSettings kFastSettings[] = {
    {kVideoCodecVPX, VideoEncoderVPX::kKeyCpuUsed, -8, VideoEncoderVPX::kKeyThreadCount,
     VideoEncoderVPX::kKeyAsynchronous},
    {kVideoCodecH264, VideoEncoderH264::kKeyPerformance, 4, kAvcKeyThreads,
     VideoEncoderH264::kKeyAsynchronous},
    {kVideoCodecH265, kHevcKeyPreset, 1, kHevcKeyThreads, VideoEncoderPluginHost::kKeyAsynchronous},
};

const FastSettings& fastSettings(uint32_t codec) {
  return *std::find_if(std::begin(kFastSettings), std::end(kFastSettings),
                       [&](const FastSettings& row) { return row.codec == codec; });
}

}  // namespace

ParameterValues oneThreadDecoding(uint32_t codec) {
  if (codec == kVideoCodecVPX) return {};
  return {{VideoDecoderBufferStream::kKeyDeinterlace, 0},
          {VideoDecoderBufferStream::kKeyOptCPUNum, 1},
          {VideoDecoderBufferStream::kKeyOptSMPMode, 0}};
}

SessionDriver::SessionDriver(SessionSetup from, OnFailure onFailure)
    : setup(std::move(from)), onFailure(onFailure), targets(setup.rungs.size()), kept(setup.rungs.size()) {
  open = wire();
}

SessionDriver::~SessionDriver() {
  if (holdsPicture) transcoder.videoDecoderBufferRelease(decodedIndex);
}

bool SessionDriver::did(uint32_t status, const char* operation) {
  if (status == 0) return true;
  if (onFailure == OnFailure::kThrow) throw std::runtime_error(std::string(operation) + " failed");
  failed = true;
  return false;
}

#define QVS_DID(call) did(transcoder.call, #call)

bool SessionDriver::wire() {
  if (!(QVS_DID(initialize()) && wireDecoder() && QVS_DID(videoScalerCreate(setup.fourcc, 8)) &&
        QVS_DID(videoScalerSetImplementation2(kScaleCPU, -1)))) {
    return false;
  }
  transcoder.setVideoScalerFlags(setup.scalerFlags);
  if (!(QVS_DID(videoDecoderBuffersCreate(setup.poolSize)) &&
        QVS_DID(videoDecoderSetFrameSizeLimits(kLargestSide, kLargestSide, 0, 0)) &&
        QVS_DID(videoEncoderBufferSetsCreate(setup.poolSize)))) {
    return false;
  }
  for (const RungSetup& rung : setup.rungs) {
    if (!wireRung(rung)) return false;
  }
  return QVS_DID(videoScalerInitialize()) &&
         QVS_DID(videoDecoderDecodeCodecConfig(setup.config.data(), 0,
                                               static_cast<uint32_t>(setup.config.size())));
}

bool SessionDriver::wireDecoder() {
  const uint32_t type = setup.captureDevice >= 0 ? kDecoderTypeCapture : 0;
  if (!QVS_DID(videoDecoderCreate(type, setup.codec, setup.codecVersion, 8, 0, setup.fourcc))) return false;
  if (type == kDecoderTypeCapture && !QVS_DID(videoDecoderSetCaptureDevice(setup.captureDevice)))
    return false;
  for (const auto& [key, value] : setup.decoderParameters) {
    if (!QVS_DID(videoDecoderSetParameterValueLong(key, value))) return false;
  }
  return QVS_DID(videoDecoderInitialize());
}

bool SessionDriver::wireRung(const RungSetup& rung) {
  int32_t added = -1;
  if (!QVS_DID(videoEncoderAdd(rung.codec, rung.codecVersion, 8, rung.fourcc, 0, &added))) return false;
  const auto encoder = static_cast<uint32_t>(added);
  const FastSettings& fast = fastSettings(rung.codec);
  if (!(QVS_DID(videoEncoderSetDefaults(encoder, 0, 0)) &&
        QVS_DID(videoEncoderSetFrameSize(encoder, rung.width, rung.height)) &&
        QVS_DID(videoEncoderSetFrameRate(encoder, rung.frameRate)) &&
        QVS_DID(videoEncoderSetBitrate(encoder, rung.bitrate)) &&
        QVS_DID(videoEncoderSetFrameIndex(encoder, added)) &&
        QVS_DID(videoEncoderSetKeyFrameFollow(encoder, 1)) &&
        QVS_DID(videoEncoderSetParameterValueLong(encoder, fast.speedKey, fast.speed)) &&
        QVS_DID(videoEncoderSetParameterValueLong(encoder, fast.threadsKey, 1)) &&
        QVS_DID(videoEncoderSetParameterValueLong(encoder, fast.asynchronousKey, rung.asynchronous)))) {
    return false;
  }
  for (const auto& [key, value] : rung.parameters) {
    if (!QVS_DID(videoEncoderSetParameterValueLong(encoder, key, value))) return false;
  }
  if (setup.tune) setup.tune(transcoder, encoder);
  uint32_t set = 0;
  return QVS_DID(videoEncoderApplyParameters(encoder)) && QVS_DID(videoEncoderBufferSetAlloc(&set)) &&
         QVS_DID(videoEncoderBufferAdd(rung.width, rung.height, rung.fitMode, rung.fourcc, 0, set)) &&
         QVS_DID(videoEncoderInitialize(encoder));
}

bool SessionDriver::decode(std::span<const uint8_t> packet, uint64_t timecode, uint32_t frameType) {
  releaseDecoded();
  CodedBlock block = CodedBlock::copyOf(packet);
  if (!block) {
    failed = true;
    return false;
  }
  ++packets;
  did(transcoder.videoDecoderAddFrame(std::move(block), timecode, frameType), "videoDecoderAddFrame");
  if (!QVS_DID(videoDecoderBufferAllocate(&decodedIndex))) return false;
  holdsPicture = true;
  uint32_t status = 0;
  info = {};
  ancillaryData.clear();
  const bool decoded =
      QVS_DID(videoDecoderDecode(decodedIndex, &status, &timecodeOfDecoded, ancillaryData, info));
  if (decoded && (status & DecodeFlagFrameAvailable) && !(status & DecodeFlagFrameNotReady)) return true;
  releaseDecoded();
  return false;
}

void SessionDriver::encode(uint32_t frameType) {
  std::fill(targets.begin(), targets.end(), kNoBuffer);
  for (uint32_t i = 0; i < targets.size(); ++i) QVS_DID(videoEncoderBufferAllocate(i, &targets[i]));
  QVS_DID(videoDecoderTransferFrameStart(decodedIndex, targets));
  for (uint32_t i = 0; i < targets.size(); ++i) {
    if (targets[i] == kNoBuffer) continue;
    QVS_DID(videoDecoderTransferFrame(decodedIndex, targets[i], i));
    if (ahead) takeUnits(i);
    QVS_DID(videoEncoderAddFrame(i, targets[i], i, frameType, timecodeOfDecoded));
  }
  for (uint32_t i = 0; i < targets.size(); ++i) {
    if (!ahead) takeUnits(i);
    if (targets[i] != kNoBuffer) QVS_DID(videoEncoderBufferRelease(i, targets[i]));
  }
  releaseDecoded();
}

Step SessionDriver::feed(std::span<const uint8_t> packet, uint64_t timecode, uint32_t frameType) {
  Step step;
  failed = false;
  const uint64_t before = packets + 1;
  step.picture = decode(packet, timecode, frameType);
  if (step.picture) {
    step.timecode = timecodeOfDecoded;
    if (picturesKept) step.decoded = decodedPicture(*decodedFrame());
    encode(frameType);
    step.packetCount = static_cast<uint32_t>(packets - before);
  }
  step.failed = failed;
  return step;
}

void SessionDriver::finish() {
  for (uint32_t i = 0; i < targets.size(); ++i) takeUnits(i);
}

void SessionDriver::takeUnits(uint32_t rung) {
  encoded.clear();
  QVS_DID(videoEncoderGetEncodedFrames(rung, encoded));
  for (const VideoFrameEncoded& unit : encoded) {
    ++packets;
    if (setup.sink) {
      setup.sink(rung, unit);
    } else {
      kept[rung].push_back(encodedUnit(unit));
    }
  }
}

VideoFrameBuffer* SessionDriver::decodedFrame() {
  return holdsPicture ? transcoder.getVideoDecoderBuffer(decodedIndex) : nullptr;
}

void SessionDriver::releaseDecoded() {
  if (!holdsPicture) return;
  holdsPicture = false;
  QVS_DID(videoDecoderBufferRelease(decodedIndex));
}

std::vector<std::string> SessionDriver::takeLog() {
  std::vector<LogStatement> lines;
  transcoder.getLogCollector().getLogStatements(lines);
  std::vector<std::string> texts;
  for (LogStatement& line : lines) texts.push_back(std::move(line.str));
  return texts;
}

}  // namespace qvs::test
