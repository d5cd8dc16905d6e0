#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>

namespace qvs {

/// Calls into a plug-in on a thread of its own, one call at a time, so that a plug-in that hangs costs its host and
/// not the process. A call that takes longer than the deadline is abandoned with its thread, and the owner does without
/// the plug-in from then on. What the calls touch is not freed under it, only when it returns after all.
///
/// All methods are for one thread, the owner's.
class PluginThread {
 public:
  /// Must not throw, and must own all it touches, or have it in what is held. Not the caller's: it may go on.
  using Call = std::function<void()>;

  /// `held` is what the calls touch; it lives as long as a call may.
  explicit PluginThread(std::shared_ptr<void> held);
  /// Waits for the call in work as `wait` does.
  ~PluginThread();
  PluginThread(const PluginThread&) = delete;
  PluginThread& operator=(const PluginThread&) = delete;

  /// How long one call may take; 0: as long as it likes.
  void setDeadline(std::chrono::milliseconds value) { deadline = value; }
  std::chrono::milliseconds getDeadline() const { return deadline; }

  /// Begins a call, once the one in work is done. False: abandoned.
  bool start(Call call);

  /// Until no call is in work. False: abandoned.
  bool wait();

  bool isAbandoned() const { return state == nullptr; }

  /// Makes a call and gives its result; nothing: abandoned.
  template <typename Body>
  auto run(Body body) -> std::optional<std::invoke_result_t<Body>> {
    const auto result = std::make_shared<std::optional<std::invoke_result_t<Body>>>();
    if (!start([body = std::move(body), result]() mutable { result->emplace(body()); }) || !wait()) {
      return std::nullopt;
    }
    return std::move(*result);
  }

  /// What the making of a session on hardware may take, in milliseconds: some wake their card for it.
  static constexpr uint32_t kOpeningDeadline = 10000;

  /// Calls of the process that have been abandoned so far, whatever became of them.
  static uint32_t abandonedCalls();

 private:
  struct State;

  static void serve(std::shared_ptr<State> state);

  std::shared_ptr<State> state;  ///< shared with the thread; null once abandoned
  std::chrono::milliseconds deadline{0};
  std::chrono::steady_clock::time_point started;
  std::thread thread;
};

}  // namespace qvs
