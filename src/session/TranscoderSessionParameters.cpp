// The session's typed parameter operations, passed on to decoder and encoders.
#include "platform/Guard.h"
#include "session/TranscoderSession.h"

namespace qvs {

namespace {

/// Runs `operation` on a stage. Without one the parameters are dropped and the answer is 0: the key is
/// unknown.
template <typename Stage, typename Operation>
uint32_t forward(const char* label, Stage* stage, Operation operation) {
  return guarded(label, [&]() -> uint32_t { return stage != nullptr ? operation(*stage) : 0; });
}

}  // namespace

uint32_t TranscoderSession::videoDecoderSetParameterValueLong(uint32_t index, int64_t value) {
  return forward("TranscoderSession::videoDecoderSetParameterValueLong", getVideoDecoder(),
                 [&](auto& stage) { return stage.setParameterValue(index, value); });
}

uint32_t TranscoderSession::videoDecoderSetParameterValueLongArray(uint32_t index, int64_t* values,
                                                                   uint32_t len) {
  return forward("TranscoderSession::videoDecoderSetParameterValueLongArray", getVideoDecoder(),
                 [&](auto& stage) { return stage.setParameterValue(index, values, len); });
}

uint32_t TranscoderSession::videoDecoderSetParameterValueDouble(uint32_t index, double value) {
  return forward("TranscoderSession::videoDecoderSetParameterValueDouble", getVideoDecoder(),
                 [&](auto& stage) { return stage.setParameterValue(index, value); });
}

uint32_t TranscoderSession::videoDecoderSetParameterValueDoubleArray(uint32_t index, double* values,
                                                                     uint32_t len) {
  return forward("TranscoderSession::videoDecoderSetParameterValueDoubleArray", getVideoDecoder(),
                 [&](auto& stage) { return stage.setParameterValue(index, values, len); });
}

uint32_t TranscoderSession::videoDecoderGetParameterValueType(uint32_t index, uint32_t* arrayLength) {
  return forward("TranscoderSession::videoDecoderGetParameterValueType", getVideoDecoder(),
                 [&](auto& stage) { return stage.getParameterValueType(index, arrayLength); });
}

uint32_t TranscoderSession::videoDecoderGetParameterValueLong(uint32_t index, int64_t* value) {
  return forward("TranscoderSession::videoDecoderGetParameterValueLong", getVideoDecoder(),
                 [&](auto& stage) { return stage.getParameterValue(index, value); });
}

uint32_t TranscoderSession::videoDecoderGetParameterValueLongArray(uint32_t index, int64_t* values,
                                                                   uint32_t* len) {
  return forward("TranscoderSession::videoDecoderGetParameterValueLongArray", getVideoDecoder(),
                 [&](auto& stage) { return stage.getParameterValue(index, values, len); });
}

uint32_t TranscoderSession::videoDecoderGetParameterValueDouble(uint32_t index, double* value) {
  return forward("TranscoderSession::videoDecoderGetParameterValueDouble", getVideoDecoder(),
                 [&](auto& stage) { return stage.getParameterValue(index, value); });
}

uint32_t TranscoderSession::videoDecoderGetParameterValueDoubleArray(uint32_t index, double* values,
                                                                     uint32_t* len) {
  return forward("TranscoderSession::videoDecoderGetParameterValueDoubleArray", getVideoDecoder(),
                 [&](auto& stage) { return stage.getParameterValue(index, values, len); });
}

uint32_t TranscoderSession::videoEncoderSetParameterValueLong(uint32_t indexEncoder, uint32_t index,
                                                              int64_t value) {
  return forward("TranscoderSession::videoEncoderSetParameterValueLong", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setParameterValue(index, value); });
}

uint32_t TranscoderSession::videoEncoderSetParameterValueLongArray(uint32_t indexEncoder, uint32_t index,
                                                                   int64_t* values, uint32_t len) {
  return forward("TranscoderSession::videoEncoderSetParameterValueLongArray", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setParameterValue(index, values, len); });
}

uint32_t TranscoderSession::videoEncoderSetParameterValueDouble(uint32_t indexEncoder, uint32_t index,
                                                                double value) {
  return forward("TranscoderSession::videoEncoderSetParameterValueDouble", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setParameterValue(index, value); });
}

uint32_t TranscoderSession::videoEncoderSetParameterValueDoubleArray(uint32_t indexEncoder, uint32_t index,
                                                                     double* values, uint32_t len) {
  return forward("TranscoderSession::videoEncoderSetParameterValueDoubleArray", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setParameterValue(index, values, len); });
}

uint32_t TranscoderSession::videoEncoderGetParameterValueType(uint32_t indexEncoder, uint32_t index,
                                                              uint32_t* arrayLength) {
  return forward("TranscoderSession::videoEncoderGetParameterValueType", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.getParameterValueType(index, arrayLength); });
}

uint32_t TranscoderSession::videoEncoderGetParameterValueLong(uint32_t indexEncoder, uint32_t index,
                                                              int64_t* value) {
  return forward("TranscoderSession::videoEncoderGetParameterValueLong", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.getParameterValue(index, value); });
}

uint32_t TranscoderSession::videoEncoderGetParameterValueLongArray(uint32_t indexEncoder, uint32_t index,
                                                                   int64_t* values, uint32_t* len) {
  return forward("TranscoderSession::videoEncoderGetParameterValueLongArray", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.getParameterValue(index, values, len); });
}

uint32_t TranscoderSession::videoEncoderGetParameterValueDouble(uint32_t indexEncoder, uint32_t index,
                                                                double* value) {
  return forward("TranscoderSession::videoEncoderGetParameterValueDouble", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.getParameterValue(index, value); });
}

uint32_t TranscoderSession::videoEncoderGetParameterValueDoubleArray(uint32_t indexEncoder, uint32_t index,
                                                                     double* values, uint32_t* len) {
  return forward("TranscoderSession::videoEncoderGetParameterValueDoubleArray", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.getParameterValue(index, values, len); });
}

}  // namespace qvs
