// The session's typed parameter operations, passed on to decoder and encoders.
#include "session/Forward.h"
#include "session/TranscoderSession.h"

namespace qvs {

namespace {

// Without a stage values are dropped, and every key is unknown.
constexpr uint32_t kNoStage = 0;

template <typename Stage, typename... Value>
uint32_t setParameter(TranscoderSessionBase& session, const char* label, StageRef<Stage> target, uint32_t key,
                      Value... value) {
  const auto set = [&](Stage& stage) -> Answer {
    const uint32_t result = stage.setParameterValue(key, value...);
    if (result != kSuccess) {
      Failure failure = failureOf(target, key);
      failure.reason = "The value of this parameter is refused";
      session.fail(label, failure);
    }
    return {result};
  };
  return forward(session, label, target, set, kNoStage);
}

template <typename Stage, typename... Value>
uint32_t getParameter(TranscoderSessionBase& session, const char* label, StageRef<Stage> target, uint32_t key,
                      Value... value) {
  const auto get = [&](Stage& stage) { return Answer{stage.getParameterValue(key, value...)}; };
  return forward(session, label, target, get, kNoStage);
}

}  // namespace

uint32_t TranscoderSession::videoDecoderSetParameterValueLong(uint32_t index, int64_t value) {
  return setParameter(*this, "TranscoderSession::videoDecoderSetParameterValueLong", videoDecoderRef(), index,
                      value);
}

uint32_t TranscoderSession::videoDecoderSetParameterValueLongArray(uint32_t index, int64_t* values,
                                                                   uint32_t len) {
  return setParameter(*this, "TranscoderSession::videoDecoderSetParameterValueLongArray", videoDecoderRef(),
                      index, values, len);
}

uint32_t TranscoderSession::videoDecoderSetParameterValueDouble(uint32_t index, double value) {
  return setParameter(*this, "TranscoderSession::videoDecoderSetParameterValueDouble", videoDecoderRef(),
                      index, value);
}

uint32_t TranscoderSession::videoDecoderSetParameterValueDoubleArray(uint32_t index, double* values,
                                                                     uint32_t len) {
  return setParameter(*this, "TranscoderSession::videoDecoderSetParameterValueDoubleArray", videoDecoderRef(),
                      index, values, len);
}

uint32_t TranscoderSession::videoDecoderGetParameterValueType(uint32_t index, uint32_t* arrayLength) {
  return forward(
      *this, "TranscoderSession::videoDecoderGetParameterValueType", videoDecoderRef(),
      [&](auto& stage) { return Answer{stage.getParameterValueType(index, arrayLength)}; }, kNoStage);
}

uint32_t TranscoderSession::videoDecoderGetParameterValueLong(uint32_t index, int64_t* value) {
  return getParameter(*this, "TranscoderSession::videoDecoderGetParameterValueLong", videoDecoderRef(), index,
                      value);
}

uint32_t TranscoderSession::videoDecoderGetParameterValueLongArray(uint32_t index, int64_t* values,
                                                                   uint32_t* len) {
  return getParameter(*this, "TranscoderSession::videoDecoderGetParameterValueLongArray", videoDecoderRef(),
                      index, values, len);
}

uint32_t TranscoderSession::videoDecoderGetParameterValueDouble(uint32_t index, double* value) {
  return getParameter(*this, "TranscoderSession::videoDecoderGetParameterValueDouble", videoDecoderRef(),
                      index, value);
}

uint32_t TranscoderSession::videoDecoderGetParameterValueDoubleArray(uint32_t index, double* values,
                                                                     uint32_t* len) {
  return getParameter(*this, "TranscoderSession::videoDecoderGetParameterValueDoubleArray", videoDecoderRef(),
                      index, values, len);
}

uint32_t TranscoderSession::videoEncoderSetParameterValueLong(uint32_t indexEncoder, uint32_t index,
                                                              int64_t value) {
  const IVideoEncoder* const encoder = getVideoEncoder(indexEncoder);
  if (index == kKeyCarryCaptions && encoder != nullptr) return carryCaptions(indexEncoder, value != 0);
  return setParameter(*this, "TranscoderSession::videoEncoderSetParameterValueLong",
                      videoEncoderRef(indexEncoder), index, value);
}

uint32_t TranscoderSession::carryCaptions(uint32_t indexEncoder, bool wanted) {
  if (wanted && !CaptionFormat::fits(getVideoEncoder(indexEncoder)->getCodec())) {
    return fail("TranscoderSession::videoEncoderSetParameterValueLong",
                {.reason = "Pictures of this encoder's codec carry no captions",
                 .context = kLogContextVideoEncoder,
                 .index = static_cast<int>(indexEncoder),
                 .number = kKeyCarryCaptions});
  }
  videoEncoders[indexEncoder].captions.setActive(wanted);
  return kSuccess;
}

uint32_t TranscoderSession::videoEncoderSetParameterValueLongArray(uint32_t indexEncoder, uint32_t index,
                                                                   int64_t* values, uint32_t len) {
  return setParameter(*this, "TranscoderSession::videoEncoderSetParameterValueLongArray",
                      videoEncoderRef(indexEncoder), index, values, len);
}

uint32_t TranscoderSession::videoEncoderSetParameterValueDouble(uint32_t indexEncoder, uint32_t index,
                                                                double value) {
  return setParameter(*this, "TranscoderSession::videoEncoderSetParameterValueDouble",
                      videoEncoderRef(indexEncoder), index, value);
}

uint32_t TranscoderSession::videoEncoderSetParameterValueDoubleArray(uint32_t indexEncoder, uint32_t index,
                                                                     double* values, uint32_t len) {
  return setParameter(*this, "TranscoderSession::videoEncoderSetParameterValueDoubleArray",
                      videoEncoderRef(indexEncoder), index, values, len);
}

uint32_t TranscoderSession::videoEncoderGetParameterValueType(uint32_t indexEncoder, uint32_t index,
                                                              uint32_t* arrayLength) {
  return forward(
      *this, "TranscoderSession::videoEncoderGetParameterValueType", videoEncoderRef(indexEncoder),
      [&](auto& stage) { return Answer{stage.getParameterValueType(index, arrayLength)}; }, kNoStage);
}

uint32_t TranscoderSession::videoEncoderGetParameterValueLong(uint32_t indexEncoder, uint32_t index,
                                                              int64_t* value) {
  return getParameter(*this, "TranscoderSession::videoEncoderGetParameterValueLong",
                      videoEncoderRef(indexEncoder), index, value);
}

uint32_t TranscoderSession::videoEncoderGetParameterValueLongArray(uint32_t indexEncoder, uint32_t index,
                                                                   int64_t* values, uint32_t* len) {
  return getParameter(*this, "TranscoderSession::videoEncoderGetParameterValueLongArray",
                      videoEncoderRef(indexEncoder), index, values, len);
}

uint32_t TranscoderSession::videoEncoderGetParameterValueDouble(uint32_t indexEncoder, uint32_t index,
                                                                double* value) {
  return getParameter(*this, "TranscoderSession::videoEncoderGetParameterValueDouble",
                      videoEncoderRef(indexEncoder), index, value);
}

uint32_t TranscoderSession::videoEncoderGetParameterValueDoubleArray(uint32_t indexEncoder, uint32_t index,
                                                                     double* values, uint32_t* len) {
  return getParameter(*this, "TranscoderSession::videoEncoderGetParameterValueDoubleArray",
                      videoEncoderRef(indexEncoder), index, values, len);
}

}  // namespace qvs
