// G.711 of both laws by table.
#include "audio/AudioDecoderG711.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "frames/AudioSampleBuffer.h"
#include "platform/BufferUtils.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr uint32_t kFormatSize = 9;
constexpr uint32_t kRateAt = 1;
constexpr uint32_t kChannelsAt = 5;
constexpr uint32_t kChannelsMost = 255;

}  // namespace

AudioDecoderG711::AudioDecoderG711(const G711Law& law) : law(law) {
  codec = law.codec;
}

uint32_t AudioDecoderG711::decodeFirstFrame(uint8_t* buffer, uint32_t, uint32_t len) {
  return guarded(law.firstFrameLabel, [&]() -> uint32_t {
    // The places count from the start of the buffer, which holds `offset` bytes more than `len`.
    if (buffer == nullptr || len < kFormatSize) return kSuccess;
    const uint32_t rate = BufferUtils::bufferToInt(buffer + kRateAt);
    const uint32_t channels = BufferUtils::bufferToInt(buffer + kChannelsAt);
    if (rate == 0 || channels == 0 || channels > kChannelsMost) {
      warn(fmt::format("{}[{{context}}]: Invalid format: sampleRate:{} channels:{}", law.firstFrameLabel,
                       rate, channels));
      return kFailure;
    }
    setFormat(rate, channels);
    firstFrameDecoded = 1;
    return kSuccess;
  });
}

uint32_t AudioDecoderG711::decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                       AudioSampleBuffer& out) {
  return guarded(law.frameLabel, [&]() -> uint32_t {
    if (buffer == nullptr || len == 0) return emptyBlock(out);
    restoreFormat();
    // All that the count stands for must lie in the block, or its readers would go past the end.
    if (!makeRoom(out, len, std::max(decodedChannels, 1u))) return kFailure;
    auto* samples = reinterpret_cast<int16_t*>(out.getBuffer());
    for (uint32_t i = 0; i < len; ++i) samples[i] = law.samples[buffer[offset + size_t{i}]];
    if (decodedChannels > 1) std::memset(samples + len, 0, out.getLen() - size_t{len} * sizeof *samples);
    finishBlock(out, len, timecode);
    return kSuccess;
  });
}

}  // namespace qvs
