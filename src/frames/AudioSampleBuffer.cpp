// The memory of a sample block.
#include "frames/AudioSampleBuffer.h"

#include <limits>
#include <new>

#include "platform/Guard.h"
#include "platform/Status.h"

namespace qvs {
namespace {
constexpr uint64_t kBytesPerSample = 2;
}

uint32_t AudioSampleBuffer::allocBuffer(uint32_t samples, uint32_t channelCount, uint32_t rate) {
  buffer.reset();
  sampleCount = samples;
  channels = channelCount;
  sampleRate = rate;
  return guarded("AudioSampleBuffer::allocBuffer", [&]() -> uint32_t {
    // Both factors have 32 bits: the product of the two fits 64, the bytes may not.
    const uint64_t values = uint64_t{samples} * channelCount;
    if (values > std::numeric_limits<uint32_t>::max() / kBytesPerSample) throw std::bad_array_new_length();
    len = static_cast<uint32_t>(values * kBytesPerSample);
    buffer = std::make_unique<uint8_t[]>(len);
    return kSuccess;
  });
}

}  // namespace qvs
