#pragma once

#include <cstdint>
#include <vector>

namespace qvs {

class ITranscoderSessionNotifyAudioFrameDecode;
class ITranscoderSessionNotifyAudioFrameEncode;
class ITranscoderSessionNotifyVideoFrameDecode;
class ITranscoderSessionNotifyVideoFrameEncode;

/// The frame listeners of one session, in order of registration. All borrowed.
struct TranscoderSessionNotifySessionHolder {
  int64_t sessionId = 0;
  std::vector<ITranscoderSessionNotifyVideoFrameDecode*> videoFrameDecodeListeners;
  std::vector<ITranscoderSessionNotifyVideoFrameEncode*> videoFrameEncodeListeners;
  std::vector<ITranscoderSessionNotifyAudioFrameDecode*> audioFrameDecodeListeners;
  std::vector<ITranscoderSessionNotifyAudioFrameEncode*> audioFrameEncodeListeners;
};

}  // namespace qvs
