#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "capture/ICaptureDeviceRegistry.h"
#include "platform/Status.h"

namespace qvs {

/// The process's capture devices. Paths and logger are set before `inspectHardware`, which the host calls once;
/// all else may be called from any thread.
class CaptureManager final : public ICaptureDeviceRegistry {
 public:
  static constexpr uint32_t kPaths = 4;
  static constexpr uint32_t kPathMax = 512;  ///< bytes, the end included
  static constexpr uint32_t kPathNative = 0;
  static constexpr uint32_t kPathCapture = 3;  ///< root of the file devices; without it kPathNative

  CaptureManager() = default;
  ~CaptureManager() override;
  CaptureManager(const CaptureManager&) = delete;
  CaptureManager& operator=(const CaptureManager&) = delete;

  /// The one that natives and decoders use; never destroyed.
  static CaptureManager* getInstance();

  uint32_t init() {
    inited = true;
    return kSuccess;
  }
  /// Before `init` natives have no manager.
  bool isInited() const { return inited; }
  void setLogger(ILogger* value) { logger = value; }  ///< borrowed
  ILogger* getLogger() const override { return logger; }
  /// kFailure for a null or long path or an unknown index.
  uint32_t setPath(uint32_t index, const char* path);
  const char* getPath(uint32_t index) const override;

  /// Adds all devices that are found: file devices, then cards.
  uint32_t inspectHardware();
  uint32_t addDevice(std::unique_ptr<ICaptureDevice> device) override;
  /// Borrowed, valid as long as the manager; null where there is none.
  ICaptureDevice* getDevice(uint32_t id);
  uint32_t getDeviceIds(std::vector<uint32_t>& ids);
  uint32_t getHardwareInfoJSON(std::string& json);
  /// Stops all devices, which stay in the list.
  uint32_t shutdown();

 private:
  std::vector<ICaptureDevice*> listed();

  std::array<std::array<char, kPathMax + 1>, kPaths> paths{};
  ILogger* logger = nullptr;
  std::mutex devicesLock;  ///< guards `devices`; not held while a device works
  std::vector<std::unique_ptr<ICaptureDevice>> devices;
  std::atomic<uint8_t> active{1};
  std::atomic<bool> inited{false};
};

}  // namespace qvs
