#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "platform/Export.h"
#include "platform/IConcurrentLock.h"
#include "session/notify/ITranscoderSessionNotifyAudioFrameDecode.h"
#include "session/notify/ITranscoderSessionNotifyAudioFrameEncode.h"
#include "session/notify/ITranscoderSessionNotifySession.h"
#include "session/notify/ITranscoderSessionNotifyVideoFrameDecode.h"
#include "session/notify/ITranscoderSessionNotifyVideoFrameEncode.h"
#include "session/notify/TranscoderSessionNotifySessionHolder.h"

namespace qvs {

/// Where modules of the process register to watch sessions and touch their frames. Never destroyed; any
/// thread may call. All operations give 0.
///
/// Listeners are borrowed and called in order of registration, on the session's thread, without the manager's
/// lock: a listener may add and remove listeners from its events, and must outlive its removal by one frame,
/// since a frame in work may still call it. Added twice, it is called twice and removed by one call.
class QVS_EXPORT TranscoderSessionNotifyManager {
 public:
  static TranscoderSessionNotifyManager* getInstance();

  uint32_t addSessionListener(ITranscoderSessionNotifySession* listener);
  uint32_t removeSessionListener(ITranscoderSessionNotifySession* listener);
  uint32_t notifySessionListenersCreate(int64_t sessionId, MediaStreamContext* context);

  /// Forgets the session's frame listeners. Comes after the session is gone.
  uint32_t notifySessionListenersDestroy(int64_t sessionId);

  uint32_t addVideoFrameDecodeListener(int64_t sessionId, ITranscoderSessionNotifyVideoFrameDecode* listener);
  uint32_t removeVideoFrameDecodeListener(int64_t sessionId,
                                          ITranscoderSessionNotifyVideoFrameDecode* listener);
  uint32_t addVideoFrameEncodeListener(int64_t sessionId, ITranscoderSessionNotifyVideoFrameEncode* listener);
  uint32_t removeVideoFrameEncodeListener(int64_t sessionId,
                                          ITranscoderSessionNotifyVideoFrameEncode* listener);
  uint32_t addAudioFrameDecodeListener(int64_t sessionId, ITranscoderSessionNotifyAudioFrameDecode* listener);
  uint32_t removeAudioFrameDecodeListener(int64_t sessionId,
                                          ITranscoderSessionNotifyAudioFrameDecode* listener);
  uint32_t addAudioFrameEncodeListener(int64_t sessionId, ITranscoderSessionNotifyAudioFrameEncode* listener);
  uint32_t removeAudioFrameEncodeListener(int64_t sessionId,
                                          ITranscoderSessionNotifyAudioFrameEncode* listener);

  uint32_t notifyVideoFrameDecodeListenersBeforeOverlay(int64_t sessionId, IVideoDecoder* decoder,
                                                        VideoFrameBuffer* frame);
  uint32_t notifyVideoFrameDecodeListenersAfterOverlay(int64_t sessionId, IVideoDecoder* decoder,
                                                       VideoFrameBuffer* frame);
  uint32_t notifyVideoFrameEncodeListenersBeforeOverlay(int64_t sessionId, IVideoEncoder* encoder,
                                                        VideoFrameBuffer* source, VideoFrameBuffer* target);
  uint32_t notifyVideoFrameEncodeListenersAfterOverlay(int64_t sessionId, IVideoEncoder* encoder,
                                                       VideoFrameBuffer* source, VideoFrameBuffer* target);
  uint32_t notifyAudioFrameDecodeListenersBeforeResample(int64_t sessionId, IAudioDecoder* decoder,
                                                         AudioSampleBuffer* block);
  uint32_t notifyAudioFrameDecodeListenersAfterResample(int64_t sessionId, IAudioDecoder* decoder,
                                                        AudioSampleBuffer* block);
  uint32_t notifyAudioFrameEncodeListenersBeforeResample(int64_t sessionId, IAudioEncoder* encoder,
                                                         AudioSampleBuffer* block);
  uint32_t notifyAudioFrameEncodeListenersAfterResample(int64_t sessionId, IAudioEncoder* encoder,
                                                        AudioSampleBuffer* block);

  /// Sessions that have a holder: from their first frame or listener to their destruction.
  size_t getSessionHolderCount();

 private:
  using Holder = TranscoderSessionNotifySessionHolder;
  template <typename Listener>
  using ListenerList = std::vector<Listener*> Holder::*;

  TranscoderSessionNotifyManager();

  // Both with the lock held.
  Holder& getOrCreateSessionHolder(int64_t sessionId);
  void removeSessionHolder(int64_t sessionId);
  template <typename Listener>
  uint32_t add(int64_t sessionId, ListenerList<Listener> list, Listener* listener);
  template <typename Listener>
  uint32_t remove(int64_t sessionId, ListenerList<Listener> list, Listener* listener);
  template <typename Listener, typename Event>
  uint32_t notify(int64_t sessionId, ListenerList<Listener> list, Event event);

  std::unique_ptr<IConcurrentLock> lock;  ///< recursive; guards all below
  std::map<int64_t, std::unique_ptr<Holder>> sessionMap;
  std::vector<ITranscoderSessionNotifySession*> sessionListeners;
};

}  // namespace qvs
