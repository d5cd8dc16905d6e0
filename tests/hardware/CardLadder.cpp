// Coded pictures for the card, and a ladder on it.
#include "hardware/CardLadder.h"

#include "contract/DecodeFlags.h"
#include "contract/ScaleIds.h"
#include "fakes/support/SoftwareEncoder.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "support/TestPicture.h"

namespace qvs::test {

CardStream makeCardStream(uint32_t width, uint32_t height, uint32_t frames) {
  fakes::SoftwareSettings settings;
  settings.width = width;
  settings.height = height;
  settings.rate = fakes::SoftwareRate::kConstantQp;
  settings.qp = 20;
  const auto encoder = fakes::makeSoftwareH264(settings);
  CardStream stream{encoder->headers(), {}};
  VideoFrameBuffer planar, card;
  planar.allocBuffer(width, height, kFourCCYV12);
  card.allocBuffer(width, height, kFourCCNV12);
  for (uint32_t time = 0; time < frames; ++time) {
    paintTestPicture(planar, time);
    planar.copyYV12toNV12(card);
    encoder->encode({card.getPlane(0), card.getPlane(1), width, time, time == 0});
    fakes::SoftwareCoded coded;
    while (encoder->take(coded)) stream.packets.push_back(coded.bytes);
  }
  return stream;
}

CardLadder::Cards::Cards(const char* folder) {
  setNativePath(kNativePath, folder);
  infoXilinxU30.availableFlags = kU30Usable;
  infoX264.availableFlags = 1;
}

CardLadder::CardLadder(uint32_t fourcc, std::vector<CardRung> wanted)
    : fourcc(fourcc), rungs(std::move(wanted)), kept(rungs.size()) {
  const Cards cards(QVS_FAKE_U30_DIR);
  initializeFrom(cards);
}

bool CardLadder::start(const CardStream& stream, uint32_t width, uint32_t height) {
  bool done = videoDecoderCreate(0, 7, 0, 8, 5, fourcc) == 0;
  done = videoDecoderInitialize() == 0 && done;
  videoScalerCreate(fourcc, 8);
  videoScalerSetImplementation2(kScaleU30, -1);
  done = videoScalerSetSource(width, height, 25) == 0 && done;
  videoDecoderBuffersCreate(3);
  videoEncoderBufferSetsCreate(3);
  for (uint32_t rung = 0; rung < rungs.size(); ++rung) {
    done = videoScalerAddScaling(rungs[rung].width, rungs[rung].height, 25, rung, false) == 0 && done;
    uint32_t set = 0;
    done = addEncoder(-1, rungs[rung]) && done;
    videoEncoderBufferSetAlloc(&set);
    done = videoEncoderBufferAdd(rungs[rung].width, rungs[rung].height, 3, fourcc, 0, set) == 0 && done;
  }
  videoScalerInitialize();
  std::vector<uint8_t> headers = stream.headers;
  return videoDecoderDecodeCodecConfig(headers.data(), 0, static_cast<uint32_t>(headers.size())) == 0 && done;
}

bool CardLadder::addEncoder(int32_t slot, const CardRung& rung) {
  const int32_t wanted = slot >= 0 ? slot : static_cast<int32_t>(getVideoEncoderCount());
  if (videoEncoderAdd(rung.codec, 0, 8, fourcc, rung.implementation, &slot) != 0) return false;
  const auto index = static_cast<uint32_t>(slot);
  bool done = videoEncoderSetDefaults(index, 0, 0) == 0;
  videoEncoderSetFrameSize(index, rung.width, rung.height);
  videoEncoderSetFrameRate(index, 25);
  videoEncoderSetBitrate(index, 1000000);
  videoEncoderSetFrameIndex(index, wanted);
  done = videoEncoderApplyParameters(index) == 0 && done;
  return videoEncoderInitialize(index) == 0 && done;
}

bool CardLadder::replace(uint32_t rung, uint32_t implementation) {
  rungs[rung].implementation = implementation;
  return addEncoder(static_cast<int32_t>(rung), rungs[rung]);
}

void CardLadder::forget() {
  for (auto& units : kept) units.clear();
}

bool CardLadder::feed(const std::vector<uint8_t>& packet, uint64_t timecode) {
  uint32_t frame = 0, status = 0;
  uint64_t decodedTime = 0;
  std::vector<VideoFrameAncillaryData> ancillary;
  TranscoderVideoDecoderFrameInfo info;
  bool done = videoDecoderAddFrame(CodedBlock::copyOf(packet), timecode, 2) == 0;
  if (videoDecoderBufferAllocate(&frame) != 0) return false;
  done = videoDecoderDecode(frame, &status, &decodedTime, ancillary, info) == 0 && done;
  if (done && (status & DecodeFlagFrameAvailable) != 0 && !dropsDecoded) {
    const VideoFrameBufferTimecodeInfo record{1, 0, 0, 0, 0, 0, 0, static_cast<uint32_t>(decodedTime)};
    getVideoDecoderBuffer(frame)->setTimecodeInfo(&record, 1);
    done = scale(frame);
  }
  videoDecoderBufferRelease(frame);
  videoScalerFreeFrame(frame);
  return done;
}

bool CardLadder::finish() {
  return scale(kNoDecodedFrame);
}

bool CardLadder::scale(uint32_t source) {
  std::vector<uint32_t> targets(rungs.size());
  for (uint32_t rung = 0; rung < rungs.size(); ++rung) videoEncoderBufferAllocate(rung, &targets[rung]);
  uint32_t status = 0;
  const auto count = static_cast<uint32_t>(targets.size());
  bool done = videoScalerScaleFrame(source, targets, count, &status) == 0;
  const bool ready = (status & 2) != 0;
  if (ready && look) look(*getVideoDecoderBuffer(source == kNoDecodedFrame ? 0 : source), targets);
  for (uint32_t rung = 0; rung < rungs.size(); ++rung) {
    const uint64_t time = getVideoEncoderBuffer(rung, targets[rung])->getTimecode();
    const Fate fate = ready ? fateOf(rung) : Fate::kDrop;
    if (fate == Fate::kEncode) done = videoEncoderAddFrame(rung, targets[rung], rung, 0, time) == 0 && done;
    if (fate == Fate::kSkip) done = videoEncoderSkipFrame(rung, targets[rung], rung, 0, time) == 0 && done;
    EncodedVideoUnits units;
    videoEncoderGetEncodedFrames(rung, units);
    for (const VideoFrameEncoded& unit : units) kept[rung].push_back(encodedUnit(unit));
    videoEncoderBufferRelease(rung, targets[rung]);
  }
  return done;
}

}  // namespace qvs::test
