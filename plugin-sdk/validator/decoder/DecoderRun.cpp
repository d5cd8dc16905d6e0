// Drives a session of a decoder plug-in and watches what comes out of it.
#include "decoder/DecoderRun.h"

#include <cstring>

#include "common/CodecRow.h"

namespace qvs::validator {
namespace {

constexpr uint32_t kMostSteps = 1000;
constexpr uint32_t kMostSide = 16384;
constexpr uint32_t kSlack = 32;
constexpr double kDecibels = 38;  // exact but for MPEG-2's transform

uint32_t yv12() {
  uint32_t fourcc = 0;
  memcpy(&fourcc, "YV12", sizeof fourcc);
  return fourcc;
}

std::string statusText(const char* what, uint32_t status) {
  return std::string(what) + " gives status " + std::to_string(static_cast<int32_t>(status));
}

}  // namespace

DecoderRun::DecoderRun(const DecoderUnderTest& plugin) : subject(plugin) {
  const pluginVideoDecoder& table = subject.table;
  if (const int32_t status = table.func_create(&session); status != 0 || session == nullptr) {
    complain("create gives status " + std::to_string(status) + (session == nullptr ? " and no session" : ""));
    return;
  }
  using A = CountingAllocator;
  if (table.func_setAllocator2 != nullptr) {
    QVS_DECODER_CALL(*this, setAllocator2, &allocator, A::create, A::release, A::lock, A::unlock);
  } else {
    QVS_DECODER_CALL(*this, setAllocator, &allocator, A::create, A::lock, A::unlock);
  }
}

DecoderRun::~DecoderRun() {
  if (session != nullptr) subject.table.func_destroy(session);
}

uint32_t DecoderRun::open() {
  QVS_DECODER_CALL(*this, setGPUID, -1);
  QVS_DECODER_CALL(*this, setFourcc, yv12());
  QVS_DECODER_CALL(*this, setDeinterlace, uint8_t{0});
  QVS_DECODER_CALL(*this, applyParameters);
  return static_cast<uint32_t>(QVS_DECODER_CALL(*this, initialize));
}

uint32_t DecoderRun::configure(const std::vector<uint8_t>& record) {
  GuardedBytes bytes("the configuration record", record.size());
  std::copy(record.begin(), record.end(), bytes.data());
  bytes.makeReadOnly("the configuration record, to write it");
  return QVS_DECODER_CALL(*this, decodeCodecConfig, bytes.data(), 0u, static_cast<uint32_t>(record.size()));
}

uint32_t DecoderRun::add(const CodedFrame& frame) {
  constexpr uint32_t kOffset = 5;
  auto next = std::make_unique<GuardedBytes>("a coded unit", kOffset + frame.bytes.size());
  std::copy(frame.bytes.begin(), frame.bytes.end(), next->data() + kOffset);
  next->makeReadOnly("a coded unit, to write it");
  if (unit != nullptr) unit->revoke("a coded unit whose successor has come");
  const uint32_t status =
      QVS_DECODER_CALL(*this, addFrame, next->data(), kOffset, static_cast<uint32_t>(frame.bytes.size()),
                       frame.timecode, frame.type);
  unit = std::move(next);
  return status != 0 ? status : steps(false);
}

uint32_t DecoderRun::flush() {
  return steps(true);
}

// Until the word says that there is no more to do.
uint32_t DecoderRun::steps(bool flushing) {
  const uint32_t enough = QVS_DECODE_ABORTED | (flushing ? QVS_DECODE_FLUSHED : QVS_DECODE_INPUT_DONE);
  for (uint32_t step = 0; complaint.empty() && step < kMostSteps; ++step) {
    uint32_t flags = 0;
    const uint32_t status = subject.table.func_decode2 != nullptr
                                ? QVS_DECODER_CALL(*this, decode2, &flags, uint8_t{flushing})
                                : QVS_DECODER_CALL(*this, decode, &flags);
    if (status != 0) return status;
    const bool ready = (flags & QVS_DECODE_FRAME_AVAILABLE) != 0 && (flags & QVS_DECODE_FRAME_NOT_READY) == 0;
    if (ready) fetch();
    if ((flags & enough) != 0 || (!ready && flags == 0)) return 0;
  }
  complain(flushing ? "never says that it is flushed" : "never says that its input is used up");
  return 0;
}

void DecoderRun::fetch() {
  uint32_t frame[2]{};
  uint32_t display[2]{};
  if (subject.table.func_getDecodedFrameSize != nullptr) {
    QVS_DECODER_CALL(*this, getDecodedFrameSize, &frame[0], &frame[1], &display[0], &display[1]);
  } else {
    frame[0] = QVS_DECODER_CALL(*this, getFrameWidth);
    frame[1] = QVS_DECODER_CALL(*this, getFrameHeight);
  }
  if (frame[0] == 0 || frame[1] == 0 || frame[0] > kMostSide || frame[1] > kMostSide) {
    return complain("has a picture of " + std::to_string(frame[0]) + "x" + std::to_string(frame[1]));
  }
  const uint32_t stride = frame[0] + frame[0] % 2 + kSlack;
  GuardedBytes target("the picture's target", blockSize(stride, frame[1]));
  uint32_t frameType = 99;
  uint64_t flags = 0;
  uint64_t timecode = 0;
  const uint32_t status = QVS_DECODER_CALL(*this, getDecodedFrame, target.data(), stride, &display[0],
                                           &display[1], &frameType, &flags, &timecode);
  if (status != 0) return complain(statusText("getDecodedFrame of a picture that is ready", status));
  if (!target.slackIntact()) return complain("writes in front of the picture's target");
  if (frameType > QVS_FRAME_BIDIRECTIONAL) complain("has a picture of type " + std::to_string(frameType));
  pictures.push_back(fromBlock(target.data(), stride, frame[0], frame[1], frame[1]));
  pictures.back().time = static_cast<int64_t>(timecode);
}

std::string DecoderRun::decodeClip() {
  if (const uint32_t status = open(); status != 0) return statusText("initialize", status);
  if (!subject.clip.config.empty()) {
    if (const uint32_t status = configure(subject.clip.config); status != 0) {
      return statusText("decodeCodecConfig", status);
    }
  }
  for (const CodedFrame& frame : subject.clip.frames) {
    if (const uint32_t status = add(frame); status != 0) return statusText("a good unit", status);
  }
  if (const uint32_t status = flush(); status != 0) return statusText("the flush", status);
  return complaint;
}

void DecoderRun::close() {
  if (session == nullptr) return;
  QVS_DECODER_CALL(*this, close);
  const int32_t status = QVS_DECODER_CALL(*this, destroy);
  session = nullptr;
  if (status != 0) complain("destroy gives status " + std::to_string(status));
  if (const std::string wrong = allocator.wrong(); !wrong.empty()) complain(wrong + " behind destroy");
}

std::string DecoderRun::wrongPictures() const {
  if (!complaint.empty()) return complaint;
  if (pictures.size() != subject.wanted.size()) {
    return std::to_string(subject.clip.frames.size()) + " units give " + std::to_string(pictures.size()) +
           " pictures where " + std::to_string(subject.wanted.size()) + " should be";
  }
  for (size_t i = 0; i < pictures.size(); ++i) {
    const std::string who = "picture " + std::to_string(i) + " ";
    if (pictures[i].time != subject.wanted[i].time) {
      return who + "has the timecode " + std::to_string(pictures[i].time) + " and should have " +
             std::to_string(subject.wanted[i].time);
    }
    const std::string wrong = difference(pictures[i], subject.wanted[i], kDecibels);
    if (!wrong.empty()) return who + wrong;
  }
  return {};
}

}  // namespace qvs::validator
