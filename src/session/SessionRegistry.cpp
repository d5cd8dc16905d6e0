// The sessions that hosts hold, found by handle while others come and go.

#include "session/SessionRegistry.h"

#include <new>
#include <utility>

#include "session/notify/TranscoderSessionNotifyManager.h"

namespace qvs {

namespace {

/// Storage of the sessions that ended last, kept from other use.
class EndedSessions {
 public:
  /// Takes storage in; what has waited longest goes.
  void push(void* storage) {
    const std::lock_guard<std::mutex> guard(lock);
    ::operator delete(std::exchange(kept[next], storage));
    next = (next + 1) % kept.size();
  }

 private:
  std::mutex lock;
  std::array<void*, SessionRegistry::kAddressesKept> kept{};
  size_t next = 0;
};

static_assert(alignof(TranscoderSession) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);

// Listeners hear of it when the session is gone, so that none can reach one that is going, and before its
// address can be another's.
void end(TranscoderSession* session) {
  static EndedSessions& ended = *new EndedSessions;
  const int64_t handle = session->getSessionId();
  std::destroy_at(session);
  TranscoderSessionNotifyManager::getInstance()->notifySessionListenersDestroy(handle);
  ended.push(session);
}

}  // namespace

SessionRegistry& SessionRegistry::getInstance() {
  static SessionRegistry& instance = *new SessionRegistry;
  return instance;
}

SessionRegistry::Stripe& SessionRegistry::stripeOf(int64_t handle) {
  // The high bits of the product depend on all of the address's.
  return stripes[static_cast<uint64_t>(handle) * 0x9E3779B97F4A7C15u >> 58];
}

std::shared_ptr<TranscoderSession> SessionRegistry::add(std::unique_ptr<TranscoderSession> session) {
  std::shared_ptr<TranscoderSession> shared(session.release(), end);
  const int64_t handle = shared->getSessionId();
  Stripe& stripe = stripeOf(handle);
  const std::lock_guard<std::mutex> guard(stripe.lock);
  stripe.sessions.emplace(handle, shared);
  return shared;
}

std::shared_ptr<TranscoderSession> SessionRegistry::find(int64_t handle) {
  Stripe& stripe = stripeOf(handle);
  const std::lock_guard<std::mutex> guard(stripe.lock);
  const auto found = stripe.sessions.find(handle);
  return found != stripe.sessions.end() ? found->second : nullptr;
}

bool SessionRegistry::remove(int64_t handle) {
  std::shared_ptr<TranscoderSession> ending;  // outlives the lock
  Stripe& stripe = stripeOf(handle);
  const std::lock_guard<std::mutex> guard(stripe.lock);
  const auto found = stripe.sessions.find(handle);
  if (found == stripe.sessions.end()) return false;
  ending = std::move(found->second);
  stripe.sessions.erase(found);
  return true;
}

}  // namespace qvs
