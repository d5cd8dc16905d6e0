// Coded packets into a session with a VP8 or VP9 decoder, one rung behind it. Input: one byte whose low bit
// chooses VP9, then packets, each behind its length in two bytes.

#include <vpx/vp8dx.h>
#include <vpx/vpx_decoder.h>

#include "FuzzInput.h"
#include "support/SessionDriver.h"

namespace {

using namespace qvs;

constexpr uint32_t kLargestSide = 2048;
constexpr int kMostPackets = 32;

/// Huge pictures only cost time here; they have tests of their own.
bool announcesHugePicture(std::span<const uint8_t> packet, bool vp9) {
  vpx_codec_stream_info_t info{};
  info.sz = sizeof info;
  const auto* interface = vp9 ? vpx_codec_vp9_dx() : vpx_codec_vp8_dx();
  vpx_codec_peek_stream_info(interface, packet.data(), static_cast<unsigned>(packet.size()), &info);
  return info.w > kLargestSide || info.h > kLargestSide;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzInput input(data, size);
  const bool vp9 = input.take<uint8_t>() & 1;
  test::SessionDriver driver(
      {.codecVersion = vp9 ? 9u : 8u, .rungs = {{.width = 32, .height = 24, .fitMode = 1}}},
      test::OnFailure::kGoOn);
  if (!driver.isOpen()) __builtin_trap();
  for (int count = 0; count < kMostPackets && !input.empty(); ++count) {
    const auto packet = input.bytes(input.take<uint16_t>());
    if (!announcesHugePicture(packet, vp9))
      driver.feed(packet, static_cast<uint64_t>(count) * 40, count == 0 ? 1 : 2);
  }
  return 0;
}
