#pragma once

#include <mc_enc_avc.h>

#include <array>
#include <memory>
#include <vector>

#include "platform/ParameterTable.h"
#include "video/encoders/EncodeWorker.h"
#include "video/encoders/VideoEncoderBase.h"
#include "video/encoders/VideoEncoderBufferStream.h"

namespace qvs {

class VideoFrameBufferAllocation;

/// What the host gave for one key.
struct ParameterValueEncoder {
  uint64_t isSet = 0;
  uint64_t value = 0;  ///< an integer, the bits of a double, or the number of an array's elements
};

/// H.264. Nearly every field of the library's settings is open by a key; keys come after `setDefaults` and
/// take effect at `applyParameters`, which also repairs what the library can't serve. Pictures are 4:2:0 of
/// the size set; access units come out with big-endian lengths and the parameter sets ahead of each IDR
/// picture.
///
/// Keys from 10200 on are off by default: `asynchronous` (non-zero, before `initialize`: `addFrame` keeps the
/// frame and returns while the work pool encodes it; `getEncodedFrames` waits for it; the units are the same
/// to the bit), `asynchronousDepth` (so many frames, beside the one in work, may then wait; `getEncodedFrames` hands out what
/// is done and waits for nothing), `flush` (any value: pictures held back for look-ahead or reordering come out with the next
/// `getEncodedFrames`; further pictures are then refused), `colorCodePoints` (an array of four in the order
/// of `mc_colorimetry_t`: colors that no description of keys 10134 and 10135 names; it outranks both).
class VideoEncoderH264 : public WithParameters<VideoEncoderH264, VideoEncoderBase> {
 public:
  static constexpr uint32_t kFirstKey = 10000;
  static constexpr uint32_t kKeyCount = 139;
  static constexpr uint32_t kKeyInterlaceMode = 10004;
  static constexpr uint32_t kKeyFrameRate = 10007;
  static constexpr uint32_t kKeyBitRateMode = 10015;
  static constexpr uint32_t kKeyBitRateBufferSize = 10016;
  static constexpr uint32_t kKeyBitRate = 10017;
  static constexpr uint32_t kKeyMaxBitRate = 10018;
  static constexpr uint32_t kKeyPerformance = 10129;
  static constexpr uint32_t kKeyForceIdr = 10130;
  static constexpr uint32_t kKeyMaintainOriginPTS = 10131;
  static constexpr uint32_t kKeyAsynchronous = 10200;
  static constexpr uint32_t kKeyFlush = 10201;
  static constexpr uint32_t kKeyColorCodePoints = 10202;
  static constexpr uint32_t kKeyAsynchronousDepth = 10203;

  VideoEncoderH264();
  ~VideoEncoderH264() override;

  uint32_t setDefaults(int32_t videoType, int32_t pal) override;
  uint32_t setFrameSize(uint32_t width, uint32_t height) override;
  uint32_t setFrameRate(double frameRate) override;
  uint32_t setBitrate(uint32_t bitrate) override;
  uint32_t updateBitrate(uint32_t bitrate) override;
  uint32_t setKeyFrameFollow(uint8_t) override { return 0; }  // the key for forced IDR pictures governs it
  uint32_t checkSettings() override { return 0; }
  uint32_t setGPUID(int32_t) override { return 0; }
  uint32_t applyParameters() override;
  uint32_t initialize() override;
  uint32_t addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;
  uint32_t getEncodedFrameCount() override;
  uint32_t getEncodedFrames(std::vector<VideoFrameEncoded>& out) override;
  using WithParameters::setParameterValue;
  uint32_t setParameterValue(uint32_t key, int64_t value) override;
  uint32_t setParameterValue(uint32_t key, double value) override;
  static const ParameterRow<VideoEncoderH264>* parameterOf(uint32_t key);
  void finish() override;

  const h264_v_settings& getSettings() const { return params; }
  uint32_t getStreamBufferSize() const { return bufferStream.getBufferSize(); }

 private:
  struct Parameter;
  /// The keys from kFirstKey on and the four opt-in ones.
  static constexpr uint32_t kParameterCount = kKeyCount + 4;

  /// One frame on its way into the library.
  struct Job {
    frame_tt picture{};
    uint32_t frameType = 0;  ///< 1 requests a key frame
    uint64_t timecode = 0;   ///< milliseconds
    bool end = false;        ///< no frame, but the end of the stream
    std::shared_ptr<VideoFrameBufferAllocation> hold;
  };

  void mark(uint32_t key, int64_t value);
  int64_t valueOf(uint32_t key, int64_t fallback) const;
  void localApplyParameters();
  bool openLibrary();
  void closeLibrary();
  void encode(const Job& job);
  void settle();
  void refuse(const frame_tt& picture);
  void flush();
  void warn(const char* text) const;

  h264_v_settings params{};      ///< in force
  h264_v_settings paramsUser{};  ///< arrays as the host gave them
  h264_v_settings_tt* v_settings = &params;
  h264venc_tt* v_encoder = nullptr;
  uint32_t frameCount = 0;    ///< frames put
  uint64_t timePerFrame = 0;  ///< 100 ns
  VideoEncoderBufferStream bufferStream;
  int32_t performance_level = -1;
  std::array<ParameterValueEncoder, kParameterCount> parameterValues{};  ///< by key, from kFirstKey on
  int32_t video_type = 0;
  int32_t PAL = 0;
  uint32_t width = 640;
  uint32_t height = 360;
  double frameRate = 30.0;
  uint32_t bitrate = 850000;
  mc_callbacks_t callbacks{};
  bool queues = false;  ///< frames wait for the worker
  bool flushed = false;
  bool refusalLogged = false;                 ///< one line an encoder
  std::unique_ptr<EncodeWorker<Job>> worker;  ///< while asynchronous; it then has the library to itself
};

}  // namespace qvs
