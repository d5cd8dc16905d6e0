#pragma once

#include <x265.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "KeyedSession.h"
#include "PictureTimes.h"
#include "X265Settings.h"

namespace qvs::plugins {

/// One libx265 encoder with a pool of threads of its own. It reads a picture where it lies and copies what it keeps.
/// libx265's common tables are never cleaned up: other sessions, of another library in this process even, may be using
/// them. They are bounded, and the library stays loaded with them.
class X265Session : public KeyedSession<X265Settings> {
 public:
  X265Session() : KeyedSession(kX265Keys) {}

  int32_t open() override;
  int32_t encode(const Picture& picture) override;
  int32_t drain() override;
  int32_t changeBitRate(uint32_t bitsPerSecond) override;

 private:
  struct Free {
    void operator()(x265_param* param) const { x265().param_free(param); }
    void operator()(x265_picture* picture) const { x265().picture_free(picture); }
    void operator()(x265_encoder* encoder) const { x265().encoder_close(encoder); }
  };

  /// A new encoder at the common bit rate. The one before ends where this one can begin.
  int32_t begin();
  int32_t restart();

  /// `given` tells whether a coded frame came.
  int32_t put(x265_picture* picture, bool& given);

  X265Settings opened;  ///< the settings as they were
  std::string pool;     ///< libx265 keeps the pointer
  std::unique_ptr<x265_param, Free> parameters;
  std::unique_ptr<x265_picture, Free> input, coded;
  std::unique_ptr<x265_encoder, Free> encoder;
  std::vector<std::span<const uint8_t>> units;  ///< of the frame that was coded last
  PictureTimes times;
  bool rateChanged = false;  ///< since the encoder began
};

/// The plug-in under one of its names.
int32_t x265Version(std::string& text, uint32_t& major, uint32_t& minor);
std::string describeX265(const char* name);
std::unique_ptr<EncoderSession> makeX265Session();

}  // namespace qvs::plugins
