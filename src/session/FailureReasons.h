#pragma once

#include "log/FailureLog.h"

// Why operations of a session fail where several do for one reason.

namespace qvs {

inline constexpr Failure kNoVideoDecoder = {.reason = "There is no video decoder",
                                            .context = kLogContextVideoDecoder};
inline constexpr Failure kNoAudioDecoder = {.reason = "There is no audio decoder",
                                            .context = kLogContextAudioDecoder};

constexpr Failure noVideoEncoder(uint32_t indexEncoder) {
  return {.reason = "There is no video encoder with this number",
          .context = kLogContextVideoEncoder,
          .index = static_cast<int>(indexEncoder),
          .number = indexEncoder};
}

constexpr Failure noAudioEncoder(uint32_t indexEncoder) {
  return {.reason = "There is no audio encoder with this number",
          .context = kLogContextAudioEncoder,
          .index = static_cast<int>(indexEncoder),
          .number = indexEncoder};
}

constexpr Failure noDecodedFrame(uint32_t bufferIndex) {
  return {.reason = "The decoder's pool has no frame with this number",
          .context = kLogContextVideoDecoder,
          .number = bufferIndex};
}

constexpr Failure noBufferSet(uint32_t setIndex) {
  return {.reason = "There is no buffer set with this number",
          .context = kLogContextVideoEncoder,
          .number = setIndex};
}

constexpr Failure noTargetFrame(uint32_t bufferIndex) {
  return {.reason = "The buffer set has no frame with this number",
          .context = kLogContextVideoEncoder,
          .number = bufferIndex};
}

constexpr Failure noAudioBuffer(uint32_t indexBuffer) {
  return {.reason = "There is no audio buffer with this number",
          .context = kLogContextAudioDecoder,
          .number = indexBuffer};
}

constexpr Failure poolTooLarge(LogContext context, uint32_t count) {
  return {.reason = "More buffers than a pool may have", .context = context, .number = count};
}

constexpr Failure unknownCodec(LogContext context, int index, uint32_t codec) {
  return {.reason = "Unknown codec", .context = context, .index = index, .number = codec};
}

}  // namespace qvs
