#pragma once

#include <mc_enc_aac.h>

#include "av/AvLibrary.h"

namespace qvs::mc {

/// AAC LC by libavcodec, behind the stream record.
class AacEncoder {
 public:
  AacEncoder(const callbacks_t* callbacks, const aac_a_settings& settings, uint32_t sampleRate);
  ~AacEncoder();
  AacEncoder(const AacEncoder&) = delete;
  AacEncoder& operator=(const AacEncoder&) = delete;

  bool open(bufstream_tt* stream);
  bool put(const uint8_t* data, uint32_t size);
  /// Codes what is left. Nothing can be put afterwards.
  bool drain();

 private:
  bool openCodec();
  bool searchesFast() const;
  bool openFrame();
  void choose(const char* option, int64_t value);
  void spread(const uint8_t* data, uint32_t sampleCount);
  bool encode(AVFrame* input);
  void send(const AVPacket& unit);
  int64_t presentationTime(int64_t samples) const;
  void writeAdtsHeader(uint8_t* header, uint32_t frameBytes) const;

  callbacks_t callbacks_{};
  aac_a_settings settings_;
  uint32_t sampleRate_;
  const AvLibrary* av_ = nullptr;
  bufstream_tt* stream_ = nullptr;
  AVCodecContext* codec_ = nullptr;
  AVFrame* frame_ = nullptr;
  AVPacket* packet_ = nullptr;
  uint32_t filled_ = 0;  ///< samples a channel in `frame_`
  int64_t taken_ = 0;    ///< samples a channel that went into the codec
  uint8_t partial_[16];  ///< bytes of a sample of all channels that came cut
  uint32_t partialBytes_ = 0;
  bool drained_ = false;
};

}  // namespace qvs::mc
