#pragma once

#include <type_traits>

#include "platform/Guard.h"
#include "session/FailureReasons.h"
#include "session/TranscoderSessionBase.h"

namespace qvs {

/// What is told of a kind of stage: that it is missing, or that it failed.
template <typename Stage>
struct StageFailures;
template <>
struct StageFailures<IVideoDecoder> {
  static constexpr Failure missing(int) { return kNoVideoDecoder; }
  static constexpr const char* kFailed = "The video decoder failed";
};
template <>
struct StageFailures<IVideoEncoder> {
  static constexpr Failure missing(int index) { return noVideoEncoder(static_cast<uint32_t>(index)); }
  static constexpr const char* kFailed = "The video encoder failed";
};
template <>
struct StageFailures<IAudioDecoder> {
  static constexpr Failure missing(int) { return kNoAudioDecoder; }
  static constexpr const char* kFailed = "The audio decoder failed";
};
template <>
struct StageFailures<IAudioEncoder> {
  static constexpr Failure missing(int index) { return noAudioEncoder(static_cast<uint32_t>(index)); }
  static constexpr const char* kFailed = "The audio encoder failed";
};
template <>
struct StageFailures<AudioEncoderWrapper> : StageFailures<IAudioEncoder> {};

/// What an operation read from a stage: no status, whatever the number is.
struct Answer {
  uint32_t value;
};

/// What is told when a stage answered `result`.
template <typename Stage>
Failure failureOf(const StageRef<Stage>& target, uint32_t result) {
  Failure failure = StageFailures<Stage>::missing(target.index);
  failure.reason = StageFailures<Stage>::kFailed;
  failure.number = result;
  return failure;
}

/// Runs `operation` on a stage of a session, or answers `absent` where there is none. Setters without a result
/// count as success. A missing stage is told in the session's log, and so is a failure of which the stage
/// itself told nothing. An exception is printed under `label` too, or under `printed`.
template <typename Stage, typename Operation>
uint32_t forward(TranscoderSessionBase& session, const char* label, StageRef<Stage> target,
                 Operation operation, uint32_t absent = kFailure, const char* printed = nullptr) {
  return guarded(printed != nullptr ? printed : label, [&]() -> uint32_t {
    if (target.stage == nullptr) {
      session.fail(label, StageFailures<Stage>::missing(target.index));
      return absent;
    }
    using Result = std::invoke_result_t<Operation, Stage&>;
    if constexpr (std::is_void_v<Result>) {
      operation(*target.stage);
      return kSuccess;
    } else if constexpr (std::is_same_v<Result, Answer>) {
      return operation(*target.stage).value;
    } else {
      const uint32_t told = session.getLogCollector().getTroubleCount();
      const uint32_t result = operation(*target.stage);
      if (result != kSuccess && session.getLogCollector().getTroubleCount() == told) {
        session.fail(label, failureOf(target, result));
      }
      return result;
    }
  });
}

}  // namespace qvs
