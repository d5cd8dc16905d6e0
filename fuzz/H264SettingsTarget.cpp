// Parameter values of every key, arrays included, into an H.264 encoder, then frames, a change of rate and an
// end through whatever came of them.

#include <cstdlib>

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "FuzzInput.h"
#include "video/encoders/VideoEncoderH264.h"

namespace {

using qvs::VideoEncoderH264;
using qvs::fuzz::FuzzInput;

constexpr uint32_t kSide = 48;

/// Threads, delays and sizes that a value may ask for stay within what a fuzz run can pay.
int64_t affordable(uint32_t key, int64_t value) {
  constexpr uint32_t kWidth = 10005, kHeight = 10006, kThreads = 10078, kLookahead = 10080;
  if (key == kWidth || key == kHeight) return value % 128;
  if (key == kThreads) return value % 4;
  return key == kLookahead ? value % 8 : value;
}

void setOne(VideoEncoderH264& encoder, FuzzInput& input) {
  const uint32_t number = input.take<uint8_t>() % (VideoEncoderH264::kKeyCount + 1);
  const bool plain = number < VideoEncoderH264::kKeyCount;
  const uint32_t key = plain ? VideoEncoderH264::kFirstKey + number : VideoEncoderH264::kKeyColorCodePoints;
  const auto kind = input.take<uint8_t>();
  if (kind < 180) {
    const int64_t value = kind < 120 ? input.take<int8_t>() : input.take<int32_t>();
    encoder.setParameterValue(key, affordable(key, value));
  } else if (kind < 220) {
    int64_t values[64];
    for (int64_t& value : values) value = input.take<uint8_t>();
    encoder.setParameterValue(key, values, input.take<uint8_t>() % 65);
  } else if (key == VideoEncoderH264::kKeyFrameRate) {
    encoder.setParameterValue(key, input.take<double>());
  }
}

void encodeSome(VideoEncoderH264& encoder, FuzzInput& input) {
  qvs::VideoFrameBuffer frame;
  frame.allocBuffer(kSide, kSide, qvs::kFourCCYV12, 1);
  for (uint32_t count = 1 + input.take<uint8_t>() % 4; count > 0; --count) {
    encoder.addFrame(frame, input.take<uint8_t>() % 3, input.take<uint64_t>());
    if (input.take<uint8_t>() % 4 == 0) encoder.updateBitrate(input.take<uint32_t>());
  }
  if (input.take<uint8_t>() % 2 == 0) encoder.setParameterValue(VideoEncoderH264::kKeyFlush, int64_t{1});
  std::vector<qvs::VideoFrameEncoded> units;
  encoder.getEncodedFrames(units);
  for (qvs::VideoFrameEncoded& unit : units) std::free(unit.getBuffer());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  VideoEncoderH264 encoder;
  encoder.setDefaults(input.take<uint8_t>() % 4, 0);
  encoder.setFrameSize(kSide, kSide);
  encoder.setFrameRate(input.take<double>());
  encoder.setBitrate(input.take<uint32_t>());
  for (uint32_t count = input.take<uint8_t>() % 16; count > 0; --count) setOne(encoder, input);
  encoder.setParameterValue(VideoEncoderH264::kKeyAsynchronous, int64_t{input.take<uint8_t>() % 2});
  encoder.applyParameters();
  encoder.initialize();
  encodeSome(encoder, input);
  return 0;
}
