// Parameter values of every type and key into a session's decoder, and into its encoder before and after its
// initialisation; frames through whatever came of them.

#include <array>

#include "FuzzInput.h"
#include "support/SessionDriver.h"
#include "support/TestPicture.h"
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::array kStreams{test::makePackets(8, kSide, kSide, 2),
                                   test::makePackets(9, kSide, kSide, 2)};
  FuzzInput input(data, size);
  const bool vp9 = input.take<uint8_t>() & 1;
  const auto& packets = kStreams[vp9];
  const uint32_t codecVersion = vp9 ? 9 : 8;
  const auto setSome = [&](TranscoderSession& session, uint32_t most) {
    for (uint32_t count = input.take<uint8_t>() % most; count > 0; --count) setAndGet(session, input);
  };
  const auto frameRate = input.take<double>();
  const auto bitrate = input.take<uint32_t>();
  test::SessionDriver driver({.codecVersion = codecVersion,
                              .rungs = {{.width = kSide,
                                         .height = kSide,
                                         .bitrate = bitrate,
                                         .codecVersion = codecVersion,
                                         .frameRate = frameRate}},
                              .tune = [&](TranscoderSession& session, uint32_t) { setSome(session, 6); }},
                             test::OnFailure::kGoOn);
  driver.feed(packets[0], 0, 1);
  setSome(driver.session(), 4);
  driver.feed(packets[1], 40);
  return 0;
}
