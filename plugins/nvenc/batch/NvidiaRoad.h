#pragma once

#include <memory>
#include <vector>

#include "BatchRoad.h"
#include "frames/VideoFrameBufferSet.h"
#include "NvencSession.h"
#include "video/decoders/VideoDecoderGenericNVCUVID.h"

namespace qvs::nvenc {

/// Decoder, scaler and encoder of an NVIDIA card: the transcoder's own decoder and its own scaling on the device, and
/// the encoder of the plug-in beside this. Pictures stay on the card. The scaler's context is the process's, as in the
/// transcoder: it stays until the process ends, and so does this library.
class NvidiaRoad : public plugins::BatchRoad {
 public:
  NvidiaRoad();

  int32_t openDecoder(int32_t gpu) override;
  int32_t decode(std::span<const uint8_t> unit, uint64_t timecode, const Taker& taker,
                 bool& damaged) override;
  plugins::StreamInfo stream() const override { return info; }
  int32_t openScaler(uint32_t fitMode) override;
  int32_t pass(bool key, uint64_t timecode) override;
  plugins::EncoderSession& encoder() override { return coder; }

 private:
  int32_t fetch();
  void readSizes();

  plugins::StreamInfo info;
  VideoFrameBufferSet decodedPool, scaledPool;  ///< of one frame each
  VideoFrameBuffer* decoded = nullptr;
  VideoFrameBuffer* scaled = nullptr;
  VideoDecoderGenericNVCUVID decoder;
  NvencSession coder;
  std::vector<uint8_t> prefixed;  ///< a picture's units behind their lengths
};

}  // namespace qvs::nvenc
