#include "ladder/SessionLadder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "contract/DecodeFlags.h"
#include "contract/ScaleIds.h"
#include "contract/StageIds.h"
#include "frames/geometry/FourCC.h"
#include "video/decoders/VideoDecoderBufferStream.h"
#include "video/encoders/VideoEncoderH264.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs::bench {
namespace {

constexpr uint32_t kYV12 = fourcc("YV12");
constexpr uint32_t kFitStretch = 3;
constexpr uint32_t kDecoderFrames = 2;
constexpr int64_t kAvcSpeedLevel = 4;  ///< veryfast
constexpr uint32_t kAvcKeyThreads = 10078;
constexpr uint32_t kRungFrames = 2;  ///< one in work, one to fill

void check(uint32_t status, const char* what) {
  if (status == 0) return;
  std::fprintf(stderr, "qvs-bench-ladder: %s gave %u\n", what, status);
  std::exit(1);
}

/// What the calls of a ladder are given for a codec.
struct CodecCalls {
  struct Key {
    uint32_t key;
    int64_t value;
  };
  Codec codec;
  uint32_t id;
  uint32_t version;
  std::span<const Key> decoderKeys;
  std::span<const Key> encoderKeys;
  uint32_t asynchronousKey;
};

constexpr CodecCalls::Key kVpxEncoderKeys[] = {{VideoEncoderVPX::kKeyCpuUsed, kCpuUsed},
                                               {VideoEncoderVPX::kKeyThreadCount, kEncoderThreads}};
constexpr CodecCalls::Key kAvcDecoderKeys[] = {{VideoDecoderBufferStream::kKeyDeinterlace, 0},
                                               {VideoDecoderBufferStream::kKeyOptCPUNum, 1},
                                               {VideoDecoderBufferStream::kKeyOptSMPMode, 0}};
constexpr CodecCalls::Key kAvcEncoderKeys[] = {{VideoEncoderH264::kKeyPerformance, kAvcSpeedLevel},
                                               {kAvcKeyThreads, kEncoderThreads}};
constexpr CodecCalls kCodecCalls[] = {
    {Codec::kVP8, kVideoCodecVPX, 8, {}, kVpxEncoderKeys, VideoEncoderVPX::kKeyAsynchronous},
    {Codec::kVP9, kVideoCodecVPX, 9, {}, kVpxEncoderKeys, VideoEncoderVPX::kKeyAsynchronous},
    {Codec::kH264, kVideoCodecH264, 0, kAvcDecoderKeys, kAvcEncoderKeys, VideoEncoderH264::kKeyAsynchronous},
};

const CodecCalls& callsOf(Codec codec) {
  return *std::find_if(std::begin(kCodecCalls), std::end(kCodecCalls),
                       [&](const CodecCalls& row) { return row.codec == codec; });
}

#define QVS_BENCH_CALL(call) check(session.call, #call)

}  // namespace

SessionLadder::SessionLadder(const LadderSpec& ladder, Codec from, std::span<uint8_t> config, bool parallel,
                             const std::string& outputFolder) {
  session.initialize();
  createDecoder(from);
  QVS_BENCH_CALL(videoScalerCreate(kYV12, 8));
  QVS_BENCH_CALL(videoScalerSetImplementation2(kScaleCPU, -1));
  QVS_BENCH_CALL(videoDecoderBuffersCreate(kDecoderFrames));
  QVS_BENCH_CALL(videoEncoderBufferSetsCreate(kRungFrames));
  for (const auto& rung : ladder.rungs) addRung(ladder, rung, parallel);
  QVS_BENCH_CALL(videoScalerInitialize());
  QVS_BENCH_CALL(videoDecoderDecodeCodecConfig(config.data(), 0, static_cast<uint32_t>(config.size())));
  for (const auto& rung : ladder.rungs) sinks.emplace_back(outputFolder, ladder, rung);
}

void SessionLadder::createDecoder(Codec codec) {
  const CodecCalls& row = callsOf(codec);
  QVS_BENCH_CALL(videoDecoderCreate(0, row.id, row.version, 8, 0, kYV12));
  for (const auto& [key, value] : row.decoderKeys) {
    QVS_BENCH_CALL(videoDecoderSetParameterValueLong(key, value));
  }
  QVS_BENCH_CALL(videoDecoderInitialize());
}

void SessionLadder::addRung(const LadderSpec& ladder, const Rung& rung, bool parallel) {
  const CodecCalls& row = callsOf(ladder.codec);
  int32_t added = -1;
  QVS_BENCH_CALL(videoEncoderAdd(row.id, row.version, 8, kYV12, 0, &added));
  const auto encoder = static_cast<uint32_t>(added);
  QVS_BENCH_CALL(videoEncoderSetDefaults(encoder, 0, 0));
  QVS_BENCH_CALL(videoEncoderSetFrameSize(encoder, rung.width, rung.height));
  QVS_BENCH_CALL(videoEncoderSetFrameRate(encoder, kFrameRate));
  QVS_BENCH_CALL(videoEncoderSetBitrate(encoder, rung.bitrate));
  QVS_BENCH_CALL(videoEncoderSetFrameIndex(encoder, added));
  QVS_BENCH_CALL(videoEncoderSetKeyFrameFollow(encoder, 1));
  for (const auto& [key, value] : row.encoderKeys) {
    QVS_BENCH_CALL(videoEncoderSetParameterValueLong(encoder, key, value));
  }
  QVS_BENCH_CALL(videoEncoderSetParameterValueLong(encoder, row.asynchronousKey, parallel));
  QVS_BENCH_CALL(videoEncoderApplyParameters(encoder));
  uint32_t set = 0;
  QVS_BENCH_CALL(videoEncoderBufferSetAlloc(&set));
  QVS_BENCH_CALL(videoEncoderBufferAdd(rung.width, rung.height, kFitStretch, kYV12, 0, set));
  QVS_BENCH_CALL(videoEncoderInitialize(encoder));
}

void SessionLadder::transcode(std::span<const uint8_t> packet, uint64_t frameNumber) {
  // A server's call copies the packet out of its virtual machine; so is it copied here.
  const auto timecode = static_cast<uint64_t>(static_cast<double>(frameNumber) * 1000.0 / kFrameRate);
  ++packets;
  QVS_BENCH_CALL(videoDecoderAddFrame(CodedBlock::copyOf(packet), timecode, isKeyFrame(frameNumber) ? 1 : 2));
  uint32_t buffer = 0;
  QVS_BENCH_CALL(videoDecoderBufferAllocate(&buffer));
  uint32_t status = 0;
  uint64_t decodedTimecode = 0;
  TranscoderVideoDecoderFrameInfo info;
  ancillaryData.clear();
  QVS_BENCH_CALL(videoDecoderDecode(buffer, &status, &decodedTimecode, ancillaryData, info));
  if ((status & DecodeFlagFrameAvailable) && !(status & DecodeFlagFrameNotReady)) {
    encodePicture(buffer, decodedTimecode);
  }
  QVS_BENCH_CALL(videoDecoderBufferRelease(buffer));
}

void SessionLadder::encodePicture(uint32_t decoderBuffer, uint64_t timecode) {
  std::array<uint32_t, kMostRungs> all{};
  const auto targets = std::span(all).first(sinks.size());
  for (uint32_t i = 0; i < targets.size(); ++i) QVS_BENCH_CALL(videoEncoderBufferAllocate(i, &targets[i]));
  QVS_BENCH_CALL(videoDecoderTransferFrameStart(decoderBuffer, targets));
  const uint32_t frameType = isKeyFrame(pictures++) ? 1 : 2;
  for (uint32_t i = 0; i < targets.size(); ++i) {
    QVS_BENCH_CALL(videoDecoderTransferFrame(decoderBuffer, targets[i], i));
    if (ahead) takePackets(i);
    QVS_BENCH_CALL(videoEncoderAddFrame(i, targets[i], i, frameType, timecode));
  }
  for (uint32_t i = 0; i < targets.size(); ++i) {
    if (!ahead) takePackets(i);
    QVS_BENCH_CALL(videoEncoderBufferRelease(i, targets[i]));
  }
}

void SessionLadder::finish() {
  for (uint32_t i = 0; i < sinks.size(); ++i) takePackets(i);
}

void SessionLadder::takePackets(uint32_t rung) {
  encoded.clear();
  QVS_BENCH_CALL(videoEncoderGetEncodedFrames(rung, encoded));
  for (auto& unit : encoded) {
    sinks[rung].write(unit.getBuffer(), unit.getLen());
    if (unit.isAllocated()) std::free(unit.getBuffer());
    ++packets;
  }
}

}  // namespace qvs::bench
