#pragma once

#include <memory>

#include "capture/CaptureDeviceFileWorkerThread.h"
#include "capture/decklink/BlackMagicCaptureState.h"
#include "capture/decklink/BlackMagicClock.h"
#include "platform/CrossplatformThread.h"

namespace qvs {

/// What a card's device shows while there is no signal: a capture directory, played on a thread of its own with times
/// that continue the card's. Started and stopped by the arrival thread.
class BlackMagicFileSource final : private ICaptureFileConsumer {
 public:
  explicit BlackMagicFileSource(BlackMagicCaptureState& device) : device(device) {}
  ~BlackMagicFileSource() override { stopFileSource(); }

  /// False where the directory can't be played.
  bool loadFileSource();
  bool isLoaded() const { return captureFileSource != nullptr; }
  bool isRunning() const { return worker != nullptr; }
  const CaptureFileSource& source() const { return *captureFileSource; }
  /// `lastMilliseconds`: of the picture before; times go on behind it.
  void startFileSource(const BlackMagicClock& clock);
  /// Time of the last picture that it delivered; `clock`'s own where there was none. Forgets the directory.
  void stopFileSource(BlackMagicClock* clock = nullptr);

 private:
  CaptureFrame* pictureToFill() override;
  CaptureFrame* soundToFill(uint32_t sampleCount) override;
  void deliverPicture(CaptureFrame* frame, uint64_t timecode) override;
  void deliverSound(CaptureFrame* frame, uint64_t timecode, uint32_t sampleCount) override;
  void writeInfo(CaptureSessionInfoData& info, uint64_t milliseconds, int64_t index, bool key);

  BlackMagicCaptureState& device;
  std::unique_ptr<CaptureFileSource> captureFileSource;
  std::unique_ptr<CaptureDeviceFileWorkerThread> worker;
  std::unique_ptr<CrossplatformThread> captureFileSourceThread;
  BlackMagicClock clock;  ///< the thread's own while it runs
  int64_t pictures = 0;
  bool soundAnchored = false;
  AudioLevelData levels;
};

}  // namespace qvs
