#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "session/TranscoderSession.h"

namespace qvs {

/// The sessions that hosts hold, by handle. A handle is the session's address; only what stands here is one.
/// Never destroyed; any thread may call.
///
/// A session lives as long as a call is at work on it: `remove` ends it at once, or with the last of these
/// calls. Then listeners are told, and only then its address may come back; it doesn't before
/// `kAddressesKept` further sessions have ended, so that a handle that a host still holds by mistake names
/// nothing rather than a stranger.
class SessionRegistry {
 public:
  static constexpr size_t kAddressesKept = 256;

  static SessionRegistry& getInstance();

  /// Owns the session from here on; its id is the handle.
  std::shared_ptr<TranscoderSession> add(std::unique_ptr<TranscoderSession> session);

  /// Null for a handle that names no session.
  std::shared_ptr<TranscoderSession> find(int64_t handle);

  /// False for a handle that names no session.
  bool remove(int64_t handle);

 private:
  // Striped, so that sessions on different threads don't wait for each other.
  struct alignas(64) Stripe {
    std::mutex lock;
    std::unordered_map<int64_t, std::shared_ptr<TranscoderSession>> sessions;
  };
  static constexpr size_t kStripes = 64;

  SessionRegistry() = default;
  Stripe& stripeOf(int64_t handle);

  std::array<Stripe, kStripes> stripes;
};

}  // namespace qvs
