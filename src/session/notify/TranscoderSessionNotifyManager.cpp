// The registry of session listeners and the calls to them.
#include "session/notify/TranscoderSessionNotifyManager.h"

#include <algorithm>
#include <array>
#include <span>

#include "platform/ConcurrentLockFactory.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

/// The listeners of one event, copied so that they run without the manager's lock. A few fit without
/// allocating.
template <typename Listener>
class ListenerCopy {
 public:
  void take(const std::vector<Listener*>& listeners) {
    if (listeners.size() > few.size()) {
      many = listeners;
      view = many;
    } else {
      std::copy(listeners.begin(), listeners.end(), few.begin());
      view = std::span(few).first(listeners.size());
    }
  }
  std::span<Listener*> get() const { return view; }

 private:
  std::array<Listener*, 8> few;
  std::vector<Listener*> many;
  std::span<Listener*> view;
};

// The lock pair of each kind of listener under one name.
template <typename Listener>
void lockListener(Listener& listener) {
  if constexpr (requires { listener.lockVideo(); }) {
    listener.lockVideo();
  } else if constexpr (requires { listener.lockAudio(); }) {
    listener.lockAudio();
  } else {
    listener.lockSession();
  }
}

template <typename Listener>
void unlockListener(Listener& listener) {
  if constexpr (requires { listener.unlockVideo(); }) {
    listener.unlockVideo();
  } else if constexpr (requires { listener.unlockAudio(); }) {
    listener.unlockAudio();
  } else {
    listener.unlockSession();
  }
}

/// A listener's own lock, given back also when its event throws.
template <typename Listener>
class ListenerLock {
 public:
  explicit ListenerLock(Listener& listener) : listener(listener) { lockListener(listener); }
  ~ListenerLock() { unlockListener(listener); }
  ListenerLock(const ListenerLock&) = delete;
  ListenerLock& operator=(const ListenerLock&) = delete;

 private:
  Listener& listener;
};

template <typename Listener, typename Event>
void callEach(const ListenerCopy<Listener>& listeners, Event event) {
  for (Listener* listener : listeners.get()) {
    ListenerLock<Listener> guard(*listener);
    event(*listener);
  }
}

}  // namespace

TranscoderSessionNotifyManager* TranscoderSessionNotifyManager::getInstance() {
  // Leaked: sessions may still end while the process takes down its statics.
  static TranscoderSessionNotifyManager* const pInstance = new TranscoderSessionNotifyManager;
  return pInstance;
}

TranscoderSessionNotifyManager::TranscoderSessionNotifyManager()
    : lock(ConcurrentLockFactory::newConcurrentLock()) {}

TranscoderSessionNotifySessionHolder& TranscoderSessionNotifyManager::getOrCreateSessionHolder(
    int64_t sessionId) {
  std::unique_ptr<Holder>& holder = sessionMap[sessionId];
  if (!holder) {
    holder = std::make_unique<Holder>();
    holder->sessionId = sessionId;
  }
  return *holder;
}

void TranscoderSessionNotifyManager::removeSessionHolder(int64_t sessionId) {
  sessionMap.erase(sessionId);
}

size_t TranscoderSessionNotifyManager::getSessionHolderCount() {
  ScopedLock guard(*lock);
  return sessionMap.size();
}

template <typename Listener>
uint32_t TranscoderSessionNotifyManager::add(int64_t sessionId, ListenerList<Listener> list,
                                             Listener* listener) {
  return guarded("TranscoderSessionNotifyManager::add", [&]() -> uint32_t {
    ScopedLock guard(*lock);
    (getOrCreateSessionHolder(sessionId).*list).push_back(listener);
    return 0;
  });
}

template <typename Listener>
uint32_t TranscoderSessionNotifyManager::remove(int64_t sessionId, ListenerList<Listener> list,
                                                Listener* listener) {
  return guarded("TranscoderSessionNotifyManager::remove", [&]() -> uint32_t {
    ScopedLock guard(*lock);
    std::erase(getOrCreateSessionHolder(sessionId).*list, listener);
    return 0;
  });
}

template <typename Listener, typename Event>
uint32_t TranscoderSessionNotifyManager::notify(int64_t sessionId, ListenerList<Listener> list, Event event) {
  return guarded("TranscoderSessionNotifyManager::notify", [&]() -> uint32_t {
    ListenerCopy<Listener> listeners;
    {
      ScopedLock guard(*lock);
      listeners.take(getOrCreateSessionHolder(sessionId).*list);
    }
    callEach(listeners, event);
    return 0;
  });
}

uint32_t TranscoderSessionNotifyManager::addSessionListener(ITranscoderSessionNotifySession* listener) {
  return guarded("TranscoderSessionNotifyManager::addSessionListener", [&]() -> uint32_t {
    ScopedLock guard(*lock);
    sessionListeners.push_back(listener);
    return 0;
  });
}

uint32_t TranscoderSessionNotifyManager::removeSessionListener(ITranscoderSessionNotifySession* listener) {
  ScopedLock guard(*lock);
  std::erase(sessionListeners, listener);
  return 0;
}

uint32_t TranscoderSessionNotifyManager::notifySessionListenersCreate(int64_t sessionId,
                                                                      MediaStreamContext* context) {
  return guarded("TranscoderSessionNotifyManager::notifySessionListenersCreate", [&]() -> uint32_t {
    ListenerCopy<ITranscoderSessionNotifySession> listeners;
    {
      ScopedLock guard(*lock);
      listeners.take(sessionListeners);
    }
    callEach(listeners, [&](auto& listener) { listener.onCreateInstance(sessionId, context); });
    return 0;
  });
}

uint32_t TranscoderSessionNotifyManager::notifySessionListenersDestroy(int64_t sessionId) {
  return guarded("TranscoderSessionNotifyManager::notifySessionListenersDestroy", [&]() -> uint32_t {
    ListenerCopy<ITranscoderSessionNotifySession> listeners;
    {
      ScopedLock guard(*lock);
      removeSessionHolder(sessionId);
      listeners.take(sessionListeners);
    }
    callEach(listeners, [&](auto& listener) { listener.onDestroyInstance(sessionId); });
    return 0;
  });
}

uint32_t TranscoderSessionNotifyManager::addVideoFrameDecodeListener(
    int64_t sessionId, ITranscoderSessionNotifyVideoFrameDecode* listener) {
  return add(sessionId, &Holder::videoFrameDecodeListeners, listener);
}

uint32_t TranscoderSessionNotifyManager::removeVideoFrameDecodeListener(
    int64_t sessionId, ITranscoderSessionNotifyVideoFrameDecode* listener) {
  return remove(sessionId, &Holder::videoFrameDecodeListeners, listener);
}

uint32_t TranscoderSessionNotifyManager::addVideoFrameEncodeListener(
    int64_t sessionId, ITranscoderSessionNotifyVideoFrameEncode* listener) {
  return add(sessionId, &Holder::videoFrameEncodeListeners, listener);
}

uint32_t TranscoderSessionNotifyManager::removeVideoFrameEncodeListener(
    int64_t sessionId, ITranscoderSessionNotifyVideoFrameEncode* listener) {
  return remove(sessionId, &Holder::videoFrameEncodeListeners, listener);
}

uint32_t TranscoderSessionNotifyManager::addAudioFrameDecodeListener(
    int64_t sessionId, ITranscoderSessionNotifyAudioFrameDecode* listener) {
  return add(sessionId, &Holder::audioFrameDecodeListeners, listener);
}

uint32_t TranscoderSessionNotifyManager::removeAudioFrameDecodeListener(
    int64_t sessionId, ITranscoderSessionNotifyAudioFrameDecode* listener) {
  return remove(sessionId, &Holder::audioFrameDecodeListeners, listener);
}

uint32_t TranscoderSessionNotifyManager::addAudioFrameEncodeListener(
    int64_t sessionId, ITranscoderSessionNotifyAudioFrameEncode* listener) {
  return add(sessionId, &Holder::audioFrameEncodeListeners, listener);
}

uint32_t TranscoderSessionNotifyManager::removeAudioFrameEncodeListener(
    int64_t sessionId, ITranscoderSessionNotifyAudioFrameEncode* listener) {
  return remove(sessionId, &Holder::audioFrameEncodeListeners, listener);
}

uint32_t TranscoderSessionNotifyManager::notifyVideoFrameDecodeListenersBeforeOverlay(
    int64_t sessionId, IVideoDecoder* decoder, VideoFrameBuffer* frame) {
  return notify(sessionId, &Holder::videoFrameDecodeListeners,
                [&](auto& listener) { listener.onVideoDecodeBeforeOverlay(sessionId, decoder, frame); });
}

uint32_t TranscoderSessionNotifyManager::notifyVideoFrameDecodeListenersAfterOverlay(
    int64_t sessionId, IVideoDecoder* decoder, VideoFrameBuffer* frame) {
  return notify(sessionId, &Holder::videoFrameDecodeListeners,
                [&](auto& listener) { listener.onVideoDecodeAfterOverlay(sessionId, decoder, frame); });
}

uint32_t TranscoderSessionNotifyManager::notifyVideoFrameEncodeListenersBeforeOverlay(
    int64_t sessionId, IVideoEncoder* encoder, VideoFrameBuffer* source, VideoFrameBuffer* target) {
  return notify(sessionId, &Holder::videoFrameEncodeListeners, [&](auto& listener) {
    listener.onVideoEncodeBeforeOverlay(sessionId, encoder, source, target);
  });
}

uint32_t TranscoderSessionNotifyManager::notifyVideoFrameEncodeListenersAfterOverlay(
    int64_t sessionId, IVideoEncoder* encoder, VideoFrameBuffer* source, VideoFrameBuffer* target) {
  return notify(sessionId, &Holder::videoFrameEncodeListeners, [&](auto& listener) {
    listener.onVideoEncodeAfterOverlay(sessionId, encoder, source, target);
  });
}

uint32_t TranscoderSessionNotifyManager::notifyAudioFrameDecodeListenersBeforeResample(
    int64_t sessionId, IAudioDecoder* decoder, AudioSampleBuffer* block) {
  return notify(sessionId, &Holder::audioFrameDecodeListeners,
                [&](auto& listener) { listener.onAudioDecodeBeforeResample(sessionId, decoder, block); });
}

uint32_t TranscoderSessionNotifyManager::notifyAudioFrameDecodeListenersAfterResample(
    int64_t sessionId, IAudioDecoder* decoder, AudioSampleBuffer* block) {
  return notify(sessionId, &Holder::audioFrameDecodeListeners,
                [&](auto& listener) { listener.onAudioDecodeAfterResample(sessionId, decoder, block); });
}

uint32_t TranscoderSessionNotifyManager::notifyAudioFrameEncodeListenersBeforeResample(
    int64_t sessionId, IAudioEncoder* encoder, AudioSampleBuffer* block) {
  return notify(sessionId, &Holder::audioFrameEncodeListeners,
                [&](auto& listener) { listener.onAudioEncodeBeforeResample(sessionId, encoder, block); });
}

uint32_t TranscoderSessionNotifyManager::notifyAudioFrameEncodeListenersAfterResample(
    int64_t sessionId, IAudioEncoder* encoder, AudioSampleBuffer* block) {
  return notify(sessionId, &Holder::audioFrameEncodeListeners,
                [&](auto& listener) { listener.onAudioEncodeAfterResample(sessionId, encoder, block); });
}

}  // namespace qvs
