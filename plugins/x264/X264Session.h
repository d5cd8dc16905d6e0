#pragma once

#include <cstdarg>
#include <cstdint>
#include <memory>

#include <x264.h>

#include "KeyedSession.h"
#include "PictureTimes.h"
#include "X264Settings.h"

namespace qvs::plugins {

/// One libx264 encoder. It reads a picture where it lies and copies what it keeps.
class X264Session : public KeyedSession<X264Settings> {
 public:
  X264Session() : KeyedSession(kX264Keys) {}

  int32_t open() override;
  int32_t encode(const Picture& picture) override;
  int32_t drain() override;
  int32_t changeBitRate(uint32_t bitsPerSecond) override;

 private:
  struct Close {
    void operator()(x264_t* encoder) const { x264_encoder_close(encoder); }
  };

  static void log(void* self, int level, const char* format, va_list arguments);
  int32_t failed(int32_t status, const char* call);
  int32_t put(x264_picture_t* picture);

  x264_param_t parameters{};
  X264Settings opened;  ///< the settings as they were
  x264_picture_t input{};
  std::unique_ptr<x264_t, Close> encoder;
  PictureTimes times;
  char lastLine[256] = {};  ///< of libx264's log since the last call
};

}  // namespace qvs::plugins
