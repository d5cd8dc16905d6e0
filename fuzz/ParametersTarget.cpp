// Parameter values of every type and key into a session's decoder and encoder, before and after its
// initialisation, through what the natives use; frames through whatever came of them.

#include <algorithm>
#include <array>
#include <vector>

#include "FuzzInput.h"
#include "session/SessionParameters.h"
#include "support/SessionDriver.h"
#include "support/TestPicture.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace {

using namespace qvs;
using fuzz::FuzzInput;

constexpr uint32_t kSide = 64;
constexpr uint32_t kLongestList = 4096;

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

/// Gets a list as the natives do: in an array of the length that the type query told.
template <typename Value, typename Parameters>
void getList(Parameters& parameters, uint32_t key, uint32_t length) {
  std::vector<Value> values(std::min(length, kLongestList));
  auto count = static_cast<uint32_t>(values.size());
  if (count != 0) parameters.getParameterValue(key, values.data(), &count);
}

/// All forms of a key, in blocks of exactly the length that is told.
template <typename Parameters>
void exchange(Parameters parameters, uint32_t key, int64_t integer, double real, uint32_t length) {
  std::vector<int64_t> integers(length, integer);
  std::vector<double> reals(length, real);
  parameters.setParameterValue(key, integer);
  parameters.setParameterValue(key, integers.data(), length);
  parameters.setParameterValue(key, real);
  parameters.setParameterValue(key, reals.data(), length);
  uint32_t told = 0;
  parameters.getParameterValueType(key, &told);
  parameters.getParameterValue(key, &integer);
  parameters.getParameterValue(key, &real);
  getList<int64_t>(parameters, key, told);
  getList<double>(parameters, key, told);
}

void setAndGet(TranscoderSession& session, FuzzInput& input) {
  static constexpr uint32_t kBases[] = {0, 10000, 20000, 100000, 100000, 100100};
  const auto kind = input.take<uint8_t>();
  const uint32_t key =
      kind < 250 ? kBases[kind % std::size(kBases)] + input.take<uint8_t>() % 40 : input.take<uint32_t>();
  int64_t integer = input.take<uint8_t>() < 200 ? input.take<int8_t>() : input.take<int64_t>();
  integer = affordable(key, integer);
  const auto real = input.take<double>();
  exchange(VideoEncoderParameters(session, 0), key, integer, real, 1 + kind % 9);
  exchange(VideoDecoderParameters(session), key, integer, real, 1 + kind % 9);
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
