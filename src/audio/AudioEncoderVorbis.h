#pragma once

#include <ogg/ogg.h>
#include <vorbis/codec.h>

#include <vector>

#include "audio/AudioEncoderBase.h"
#include "audio/AudioSampleHolder.h"
#include "contract/StageIds.h"
#include "platform/ParameterTable.h"
#include "platform/RingQueue.h"

namespace qvs {

/// Vorbis by libvorbis, in whole Ogg pages. Headers and frames behind each other are a complete Ogg stream:
/// the headers are the first page and the second page's two parts, and each further frame is a page, head and
/// body. Codes mono or stereo: of more channels the first two.
///
/// A page's granule position counts samples from the first one encoded, and its timecode is the timecode of
/// that position: the time at which the page's audio ends, and that of the page behind it begins.
///
/// Key 190100 (long) `unmanaged`, before `initialize`: non-zero takes the bit rate for an estimate by which
/// the library sets its quality, instead of managing it, in a third of the time.
class AudioEncoderVorbis : public WithParameters<AudioEncoderVorbis, AudioEncoderBase> {
 public:
  static constexpr uint32_t kKeyUnmanaged = 190100;

  AudioEncoderVorbis() { codec = kAudioCodecVorbis; }
  ~AudioEncoderVorbis() override;

  uint32_t initialize() override;
  uint32_t getHeaders(std::vector<AudioFrameEncoded>& out) override;
  uint32_t addSampleBuffer(AudioSampleBuffer* buffer, std::vector<AudioFrameEncoded>& out) override;
  uint32_t close() override;
  static const ParameterRow<AudioEncoderVorbis>* parameterOf(uint32_t key);

 private:
  void limitBitrate();
  bool openEncoder();
  int setUpEncoder();
  void logFailure(int code) const;
  bool addHeaders();
  void hold(uint64_t timecode, uint32_t count);
  void write(const AudioSampleBuffer& buffer, uint32_t index, uint32_t count);
  void analyse();
  void account(int64_t granule);
  void takePages(uint32_t blockChannels, std::vector<AudioFrameEncoded>& out);
  void closeEncoder();

  ogg_stream_state streamState{};
  ogg_page page{};
  ogg_packet packet{};
  vorbis_info vorbisInfo{};
  vorbis_comment comment{};
  vorbis_dsp_state dspState{};
  vorbis_block block{};
  std::vector<AudioFrameEncoded> headers;     ///< owned
  RingQueue<AudioSampleHolder> timecodeList;  ///< of samples whose pages have not come out
  uint64_t timecodeReached = 0;               ///< behind the last sample accounted for; samples
  int64_t lastGranule = -1;
  bool fullReported = false;
  bool unmanaged = false;
  uint8_t encoderInited = 0;
};

}  // namespace qvs
