#pragma once

#include <atomic>
#include <thread>

#include "fakes/decklink/CardFrames.h"

namespace qvs::fakes::card {

/// One card: the input and its thread, which sends what the script says. Lives as long as the process.
class CardInput final : public Input {
 public:
  /// Called on the card's thread: plugged in, or out.
  using Plug = void (*)(bool in);
  explicit CardInput(Plug plug) : plug(plug), memory(std::make_shared<CardMemory>()) {}

  // References are the device's.
  Status QueryInterface(Identifier id, void** object) override;
  unsigned long AddRef() override;
  unsigned long Release() override;

  Status DoesSupportVideoMode(uint32_t, uint32_t mode, uint32_t, uint32_t, uint32_t, uint32_t* actual,
                              bool* supported) override;
  Status GetDisplayMode(uint32_t, DisplayMode**) override { return kFailed; }
  Status GetDisplayModeIterator(DisplayModeIterator** iterator) override;
  Status SetScreenPreviewCallback(void*) override { return kFailed; }
  Status EnableVideoInput(uint32_t mode, uint32_t format, uint32_t flags) override;
  Status DisableVideoInput() override;
  Status GetAvailableVideoFrameCount(uint32_t*) override { return kFailed; }
  Status SetVideoInputFrameMemoryAllocator(void*) override { return kFailed; }
  Status EnableAudioInput(uint32_t rate, uint32_t bits, uint32_t channels) override;
  Status DisableAudioInput() override;
  Status GetAvailableAudioSampleFrameCount(uint32_t*) override { return kFailed; }
  Status StartStreams() override;
  Status StopStreams() override;
  Status PauseStreams() override;
  Status FlushStreams() override;
  Status SetCallback(InputCallback* callback) override;
  Status GetHardwareReferenceClock(int64_t, int64_t*, int64_t*, int64_t*) override { return kFailed; }

  static std::atomic<uint64_t> sent;  ///< pictures given to callbacks, of all cards

 private:
  void run();
  void carryOut(const CardEvent& event);
  void tellFormat(uint32_t events);
  void deliver();
  InputCallback* sharedCallback();

  const Plug plug;
  const std::shared_ptr<CardMemory> memory;
  std::mutex lock;  ///< guards what follows
  InputCallback* callback = nullptr;
  uint32_t enabledMode = 0, enabledFormat = 0, videoFlags = 0;
  bool videoOn = false;
  uint32_t channels = 0, bits = 16;
  std::thread thread;
  std::atomic<bool> stop{false};
  std::atomic<bool> paused{false};

  // The thread's own.
  std::vector<CardEvent> events;
  const CardMode* mode = nullptr;  ///< that comes in
  bool rgb = false, signal = true, muted = false, unplugged = false, spliceNow = false, badNow = false;
  int64_t burst = 0;
  uint64_t generation = 0;  ///< of the script that `events` is from
  uint64_t position = 0;    ///< pictures since that script was set
  uint64_t number = 0, time = 0, baseTicks = 0, soundAt = 0;
};

}  // namespace qvs::fakes::card
