#pragma once

#include <mc_enc_avc.h>
#include <x264.h>

#include <cstdarg>
#include <memory>
#include <span>
#include <vector>

#include "avc/AvcBufferGrowth.h"
#include "avc/AvcRateFollower.h"
#include "avc/AvcTimes.h"

namespace qvs::mc {

/// What became of a picture.
enum class AvcOutcome : int32_t {
  kDone = 0,
  kRefused = 1,  ///< not taken
  kLost = 2,     ///< taken, but the stream had no room for a unit
};

/// One encoder on libx264 that writes its access units, with four-byte start codes, into a stream record.
class AvcEncoder {
 public:
  AvcEncoder(const mc_callbacks_t& callbacks, const h264_v_settings& settings);

  /// False where libx264 refused the settings.
  bool isOpen() const { return encoder != nullptr; }

  /// Borrowed. False where the record can't take bytes.
  bool attach(bufstream_tt* stream);

  bool fits(const x264_picture_t& picture, uint32_t width, uint32_t height) const;
  AvcOutcome put(x264_picture_t& picture, const mc_sample_info_struct_t* times, bool forceIdr);
  bool update(const h264_v_settings& changed);
  bool flush();

 private:
  struct Close {
    void operator()(x264_t* encoder) const { x264_encoder_close(encoder); }
  };

  static void log(void* self, int level, const char* format, va_list arguments);
  bool reconfigure();
  void learnHeaders();
  bool copy(const x264_nal_t* units, int count, bool key);
  bool copy(std::span<const uint8_t> bytes);
  AvcOutcome encode(x264_picture_t* picture);
  AvcOutcome write(x264_nal_t* units, int count, uint32_t size, const x264_picture_t& coded);
  void announce(int64_t presentation, int64_t decoding);
  void closeUnit(uint32_t size, int64_t presentation, int64_t decoding);

  mc_callbacks_t callbacks;
  h264_v_settings settings;
  x264_param_t parameters{};
  std::unique_ptr<x264_t, Close> encoder;
  bufstream_tt* stream = nullptr;  ///< borrowed
  int64_t number = 0;              ///< of the next picture
  double duration = 0;             ///< of a picture at the nominal rate, 100 ns
  AvcTimes times;
  AvcRateFollower follower;
  AvcBufferGrowth buffer;
  std::vector<uint8_t> headers;        ///< of the next key picture, where libx264 writes none
  std::vector<uint8_t> parameterSets;  ///< of all but the first
  bool unitLost = false;               ///< the next picture must not lean on one that nobody got
};

}  // namespace qvs::mc
