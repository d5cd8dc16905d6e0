#pragma once

#include <cstdint>

#include "session/TranscoderSession.h"

// The parameter operations of a session, in the form of a stage's.

namespace qvs {

class VideoDecoderParameters {
 public:
  explicit VideoDecoderParameters(TranscoderSession& session) : session(session) {}

  void setParameterValue(uint32_t key, int64_t value) {
    session.videoDecoderSetParameterValueLong(key, value);
  }
  void setParameterValue(uint32_t key, int64_t* values, uint32_t len) {
    session.videoDecoderSetParameterValueLongArray(key, values, len);
  }
  void setParameterValue(uint32_t key, double value) {
    session.videoDecoderSetParameterValueDouble(key, value);
  }
  void setParameterValue(uint32_t key, double* values, uint32_t len) {
    session.videoDecoderSetParameterValueDoubleArray(key, values, len);
  }
  uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) {
    return session.videoDecoderGetParameterValueType(key, arrayLength);
  }
  void getParameterValue(uint32_t key, int64_t* value) {
    session.videoDecoderGetParameterValueLong(key, value);
  }
  void getParameterValue(uint32_t key, int64_t* values, uint32_t* len) {
    session.videoDecoderGetParameterValueLongArray(key, values, len);
  }
  void getParameterValue(uint32_t key, double* value) {
    session.videoDecoderGetParameterValueDouble(key, value);
  }
  void getParameterValue(uint32_t key, double* values, uint32_t* len) {
    session.videoDecoderGetParameterValueDoubleArray(key, values, len);
  }

 private:
  TranscoderSession& session;
};

class VideoEncoderParameters {
 public:
  VideoEncoderParameters(TranscoderSession& session, uint32_t indexEncoder)
      : session(session), index(indexEncoder) {}

  void setParameterValue(uint32_t key, int64_t value) {
    session.videoEncoderSetParameterValueLong(index, key, value);
  }
  void setParameterValue(uint32_t key, int64_t* values, uint32_t len) {
    session.videoEncoderSetParameterValueLongArray(index, key, values, len);
  }
  void setParameterValue(uint32_t key, double value) {
    session.videoEncoderSetParameterValueDouble(index, key, value);
  }
  void setParameterValue(uint32_t key, double* values, uint32_t len) {
    session.videoEncoderSetParameterValueDoubleArray(index, key, values, len);
  }
  uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) {
    return session.videoEncoderGetParameterValueType(index, key, arrayLength);
  }
  void getParameterValue(uint32_t key, int64_t* value) {
    session.videoEncoderGetParameterValueLong(index, key, value);
  }
  void getParameterValue(uint32_t key, int64_t* values, uint32_t* len) {
    session.videoEncoderGetParameterValueLongArray(index, key, values, len);
  }
  void getParameterValue(uint32_t key, double* value) {
    session.videoEncoderGetParameterValueDouble(index, key, value);
  }
  void getParameterValue(uint32_t key, double* values, uint32_t* len) {
    session.videoEncoderGetParameterValueDoubleArray(index, key, values, len);
  }

 private:
  TranscoderSession& session;
  uint32_t index;
};

}  // namespace qvs
