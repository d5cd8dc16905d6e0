// Handles: what they name, and for how long.

#include "session/SessionRegistry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "session/notify/TranscoderSessionNotifyManager.h"

namespace qvs {
namespace {

SessionRegistry& registry() {
  return SessionRegistry::getInstance();
}

int64_t open() {
  return registry().add(std::make_unique<TranscoderSession>())->getSessionId();
}

/// Makes a session at each death that it hears of: none may have the handle that just died.
class Heir : public ITranscoderSessionNotifySession {
 public:
  Heir() { TranscoderSessionNotifyManager::getInstance()->addSessionListener(this); }
  ~Heir() override { TranscoderSessionNotifyManager::getInstance()->removeSessionListener(this); }
  uint32_t lockSession() override { return 0; }
  uint32_t unlockSession() override { return 0; }
  uint32_t onCreateInstance(int64_t, MediaStreamContext*) override { return 0; }
  uint32_t onDestroyInstance(int64_t sessionId) override {
    dead.push_back(sessionId);
    for (int i = 0; i < 8; ++i) young.push_back(std::make_unique<TranscoderSession>());
    for (const auto& session : young) reused += session->getSessionId() == sessionId;
    return 0;
  }

  std::vector<int64_t> dead;
  std::vector<std::unique_ptr<TranscoderSession>> young;
  int reused = 0;
};

TEST(SessionRegistry, KeepsAHandleWhileACallIsAtWorkAndItsAddressWhileListenersBelieveInIt) {
  Heir heir;
  const int64_t handle = open();
  auto inCall = registry().find(handle);
  ASSERT_EQ(inCall->getSessionId(), handle);
  EXPECT_TRUE(registry().remove(handle));
  EXPECT_EQ(registry().find(handle), nullptr);
  EXPECT_FALSE(registry().remove(handle));
  EXPECT_EQ(inCall->videoScalerInitialize(), 0u);
  EXPECT_TRUE(heir.dead.empty());
  inCall.reset();
  EXPECT_EQ(heir.dead, std::vector<int64_t>{handle});
  EXPECT_EQ(heir.reused, 0);
}

TEST(SessionRegistry, GivesAnAddressOutAgainOnlyAfterManyOthers) {
  std::vector<int64_t> handles;
  for (size_t i = 0; i < 3 * SessionRegistry::kAddressesKept; ++i) {
    handles.push_back(open());
    EXPECT_TRUE(registry().remove(handles.back()));
    const size_t recent = std::min(handles.size(), SessionRegistry::kAddressesKept);
    EXPECT_EQ(std::set<int64_t>(handles.end() - static_cast<std::ptrdiff_t>(recent), handles.end()).size(),
              recent);
  }
}

TEST(SessionRegistry, AnswersWhileOtherThreadsMakeAndEndSessions) {
  std::atomic<int64_t> latest{0};
  std::atomic<bool> done{false};
  std::vector<std::thread> callers;
  for (int i = 0; i < 2; ++i) {
    callers.emplace_back([&] {
      while (!done) {
        for (const int64_t handle : {latest.load(), latest.load() + 16, int64_t{1}}) {
          const auto session = registry().find(handle);
          EXPECT_TRUE(session == nullptr || session->getSessionId() == handle);
        }
      }
    });
  }
  for (int i = 0; i < 300; ++i) {
    latest = open();
    EXPECT_TRUE(registry().remove(latest));
  }
  done = true;
  for (auto& caller : callers) caller.join();
}

}  // namespace
}  // namespace qvs
