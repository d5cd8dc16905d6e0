#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "capture/CaptureDeviceBase.h"
#include "capture/CaptureDeviceFileWorkerThread.h"
#include "capture/CaptureFileSource.h"
#include "platform/CrossplatformThread.h"

namespace qvs {

class ICaptureDeviceRegistry;

/// A device that plays a directory in real time, again and again, as if it came from a card.
class CaptureDeviceFile final : public CaptureDeviceBase, private ICaptureFileConsumer {
 public:
  CaptureDeviceFile(uint32_t iterIndex, CaptureFileSource loaded, ILogger* logger);
  ~CaptureDeviceFile() override;

  /// Adds a device for each directory "capture/captureN" below the root, from 0 to the first that isn't there.
  static void inspectHardware(ICaptureDeviceRegistry& registry);

  uint32_t setActiveState(CaptureDeviceStateInfoData* info) override;

 private:
  void startup();
  void shutdown();
  std::string describe() const;

  CaptureFrame* pictureToFill() override;
  CaptureFrame* soundToFill(uint32_t sampleCount) override;
  void deliverPicture(CaptureFrame* frame, uint64_t timecode) override;
  void deliverSound(CaptureFrame* frame, uint64_t timecode, uint32_t sampleCount) override;

  const uint32_t iterIndex;
  const CaptureFileSource source;
  std::mutex stateLock;  ///< held while the device starts or stops; never taken by the worker
  CaptureDeviceFileWorkerThread worker;
  CrossplatformThread workerThread;
};

}  // namespace qvs
