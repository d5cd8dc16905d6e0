#pragma once

#include <qvs/video_decoder.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "plugin/PluginSession.h"

namespace qvs {

/// A decoder plug-in's session with all that a call into it reads and writes. The host's own thread shares it, since a
/// call that doesn't return keeps that, whatever becomes of the host.
class PluginDecoderWork {
 public:
  PluginDecoderWork() = default;
  ~PluginDecoderWork();
  PluginDecoderWork(const PluginDecoderWork&) = delete;
  PluginDecoderWork& operator=(const PluginDecoderWork&) = delete;

  PluginSession<pluginVideoDecoder> plugin;
  std::vector<uint8_t> unit;    ///< coded bytes that the plug-in may read until the next ones
  std::vector<uint8_t> record;  ///< of the container
  std::vector<int64_t> values;  ///< of a parameter
  std::array<uint32_t, 4> sizes{};
  uint32_t flags = 0, frameType = 0, count = 0;
  uint64_t frameFlags = 0, timecode = 0;
  int64_t number = 0;
  double real = 0;
  PluginVideoBuffer picture{};

  /// Keeps a call until `takeStep`, so that handing it to a thread allocates nothing.
  template <typename Body>
  void putStep(Body body);
  /// Makes the call; must not throw.
  void runStep() { run(*this); }
  /// What the call gave; nothing where it ended with an exception.
  template <typename Body>
  auto takeStep() -> std::optional<std::invoke_result_t<Body, PluginDecoderWork&>>;

 private:
  template <typename Body>
  struct Step {
    Body body;
    std::optional<std::invoke_result_t<Body, PluginDecoderWork&>> result;
  };

  void (*run)(PluginDecoderWork& work) = nullptr;
  void (*end)(void* step) = nullptr;  ///< null: there is no step
  alignas(std::max_align_t) std::array<std::byte, 256> step{};
};

template <typename Body>
void PluginDecoderWork::putStep(Body body) {
  static_assert(sizeof(Step<Body>) <= sizeof step);
  new (step.data()) Step<Body>{std::move(body), std::nullopt};
  run = [](PluginDecoderWork& work) {
    auto* const it = reinterpret_cast<Step<Body>*>(work.step.data());
    it->result.emplace(it->body(work));
  };
  end = [](void* it) { static_cast<Step<Body>*>(it)->~Step<Body>(); };
}

template <typename Body>
auto PluginDecoderWork::takeStep() -> std::optional<std::invoke_result_t<Body, PluginDecoderWork&>> {
  auto* const it = reinterpret_cast<Step<Body>*>(step.data());
  auto result = std::move(it->result);
  std::exchange(end, nullptr)(it);
  return result;
}

}  // namespace qvs
