#pragma once

#include "media/AvHandles.h"
#include "media/MediaStatus.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qvs::host {

/// What libavcodec needs to know of an audio stream.
struct CodedAudio {
  std::string codecName;        ///< as libavcodec names it
  std::vector<uint8_t> config;  ///< the codec's configuration as libavformat keeps it; may be empty
  AVRational timeBase{1, 1000};
  int sampleRate = 0;  ///< 0 when only the packets tell, as all of the following
  int channels = 0;
  uint64_t channelMask = 0;  ///< speakers, 0 when unknown
  int blockAlign = 0;
  int bitsPerSample = 0;
  int64_t bitRate = 0;
  uint32_t codecTag = 0;
};

/// Decodes audio that the transcoder itself has no decoder for: packets in, interleaved 16-bit samples out, the
/// channels in the usual speakers of their count.
class SampleDecoder {
 public:
  MediaStatus open(const CodedAudio& audio);
  /// Takes a packet; null ends the stream. A damaged one fails and costs its own samples only.
  MediaStatus send(const uint8_t* bytes, size_t size, int64_t pts);
  /// True when `samples()` holds the next piece of what was sent.
  bool receive();

  const std::vector<int16_t>& samples() const { return samples_; }
  int sampleRate() const { return frame_->sample_rate; }
  int channels() const { return layout_.nb_channels; }
  /// Time of the piece in the stream's time base, AV_NOPTS_VALUE when it follows the one before.
  int64_t pts() const { return frame_->pts; }

 private:
  bool convert();
  bool prepareConverter();

  AvCodecPtr decoder_;
  AvPacketPtr packet_;
  AvFramePtr frame_;
  SwrPtr converter_;
  /// What the converter was made for.
  AVChannelLayout source_{};
  AVChannelLayout layout_{};
  int format_ = AV_SAMPLE_FMT_NONE;
  int rate_ = 0;
  std::vector<int16_t> samples_;
};

}  // namespace qvs::host
