// Parameter values of every type and key into a session's decoder and encoder, before and after its
// initialisation, then a frame through whatever came of them.

#include "contract/StageIds.h"
#include "frames/geometry/FourCC.h"
#include "FuzzInput.h"
#include "session/TranscoderSession.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace {

using namespace qvs;
using fuzz::FuzzInput;

constexpr uint32_t kSide = 64;

/// Memory and threads that a value may ask for stay within what a fuzz run can pay; everything else is free.
int64_t affordable(uint32_t key, int64_t value) {
  constexpr uint32_t kThreads = 100001, kWidth = 100003, kHeight = 100004, kLag = 100011;
  switch (key) {
    case kWidth:
    case kHeight:
      return value % 512;
    case kThreads:
    case VideoEncoderVPX::kKeyThreadCount:
      return value % 4;
    case kLag:
      return value % 30;
    default:
      return value;
  }
}

void setAndGet(TranscoderSession& session, FuzzInput& input) {
  static constexpr uint32_t kBases[] = {0, 10000, 20000, 100000, 100000, 100100};
  const auto kind = input.take<uint8_t>();
  const uint32_t key =
      kind < 250 ? kBases[kind % std::size(kBases)] + input.take<uint8_t>() % 40 : input.take<uint32_t>();
  int64_t integer = input.take<uint8_t>() < 200 ? input.take<int8_t>() : input.take<int64_t>();
  integer = affordable(key, integer);
  auto real = input.take<double>();
  int64_t integers[4] = {integer, 0, -1, integer};
  double reals[4] = {real, 0.0, -1.0, real};
  uint32_t length = 4;
  session.videoEncoderSetParameterValueLong(0, key, integer);
  session.videoEncoderSetParameterValueLongArray(0, key, integers, 4);
  session.videoEncoderSetParameterValueDouble(0, key, real);
  session.videoEncoderSetParameterValueDoubleArray(0, key, reals, 4);
  session.videoEncoderGetParameterValueType(0, key, &length);
  session.videoEncoderGetParameterValueLong(0, key, &integer);
  length = 4;
  session.videoEncoderGetParameterValueLongArray(0, key, integers, &length);
  session.videoEncoderGetParameterValueDouble(0, key, &real);
  length = 4;
  session.videoEncoderGetParameterValueDoubleArray(0, key, reals, &length);
  session.videoDecoderSetParameterValueLong(key, integer);
  session.videoDecoderSetParameterValueDouble(key, real);
  session.videoDecoderGetParameterValueType(key, &length);
  session.videoDecoderGetParameterValueLong(key, &integer);
}

void encodeOneFrame(TranscoderSession& session) {
  uint32_t buffer = 0;
  if (session.videoEncoderBufferAllocate(0, &buffer)) return;
  session.videoEncoderAddFrame(0, buffer, 0, 1, 0);
  std::vector<VideoFrameEncoded> encoded;
  session.videoEncoderGetEncodedFrames(0, encoded);
  for (auto& unit : encoded) {
    if (unit.isAllocated()) std::free(unit.getBuffer());
  }
  session.videoEncoderBufferRelease(0, buffer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr uint32_t kFormat = fourcc("YV12");
  FuzzInput input(data, size);
  const uint32_t codecVersion = input.take<uint8_t>() & 1 ? 9 : 8;
  TranscoderSession session;
  session.videoDecoderCreate(0, kVideoCodecVPX, codecVersion, 8, 0, kFormat);
  session.videoEncoderBufferSetsCreate(1);
  int32_t encoder = -1;
  session.videoEncoderAdd(kVideoCodecVPX, codecVersion, 8, kFormat, 0, &encoder);
  session.videoEncoderSetDefaults(0, 0, 0);
  session.videoEncoderSetFrameSize(0, kSide, kSide);
  session.videoEncoderSetFrameRate(0, input.take<double>());
  session.videoEncoderSetBitrate(0, input.take<uint32_t>());
  session.videoEncoderSetFrameIndex(0, 0);
  session.videoEncoderSetParameterValueLong(0, VideoEncoderVPX::kKeyThreadCount, 1);
  session.videoEncoderSetParameterValueLong(0, VideoEncoderVPX::kKeyCpuUsed, 8);
  for (uint32_t count = input.take<uint8_t>() % 6; count > 0; --count) setAndGet(session, input);
  session.videoEncoderApplyParameters(0);
  uint32_t set = 0;
  session.videoEncoderBufferSetAlloc(&set);
  session.videoEncoderBufferAdd(kSide, kSide, 3, kFormat, 0, set);
  session.videoEncoderInitialize(0);
  session.videoDecoderInitialize();
  encodeOneFrame(session);
  for (uint32_t count = input.take<uint8_t>() % 4; count > 0; --count) setAndGet(session, input);
  encodeOneFrame(session);
  return 0;
}
