// The registry of capture devices.
#include "capture/CaptureManager.h"

#include <cstring>

#include "capture/CaptureDeviceFile.h"
#include "capture/decklink/CaptureDeviceBlackMagic.h"

namespace qvs {

CaptureManager* CaptureManager::getInstance() {
  static auto* const pInstance = new CaptureManager;
  return pInstance;
}

CaptureManager::~CaptureManager() {
  shutdown();
}

uint32_t CaptureManager::setPath(uint32_t index, const char* path) {
  if (path == nullptr || index >= kPaths) return kFailure;
  const size_t length = std::strlen(path);
  if (length >= kPathMax) return kFailure;
  std::memcpy(paths[index].data(), path, length + 1);
  return kSuccess;
}

const char* CaptureManager::getPath(uint32_t index) const {
  return index < kPaths ? paths[index].data() : "";
}

uint32_t CaptureManager::inspectHardware() {
  CaptureDeviceFile::inspectHardware(*this);
  CaptureDeviceBlackMagic::inspectHardware(*this);  // behind the file devices, which keep the lowest ids
  return kSuccess;
}

uint32_t CaptureManager::addDevice(std::unique_ptr<ICaptureDevice> device) {
  const std::lock_guard guard(devicesLock);
  device->setId(static_cast<uint32_t>(devices.size()));
  devices.push_back(std::move(device));
  return kSuccess;
}

std::vector<ICaptureDevice*> CaptureManager::listed() {
  const std::lock_guard guard(devicesLock);
  std::vector<ICaptureDevice*> list;
  for (const auto& device : devices) list.push_back(device.get());
  return list;
}

ICaptureDevice* CaptureManager::getDevice(uint32_t id) {
  const std::lock_guard guard(devicesLock);
  for (const auto& device : devices) {
    if (device->getId() == id) return device.get();
  }
  return nullptr;
}

uint32_t CaptureManager::getDeviceIds(std::vector<uint32_t>& ids) {
  for (ICaptureDevice* device : listed()) ids.push_back(device->getId());
  return kSuccess;
}

uint32_t CaptureManager::getHardwareInfoJSON(std::string& json) {
  std::string list;
  for (ICaptureDevice* device : listed()) list += (list.empty() ? "" : ", ") + device->getInfoJSON();
  json = "{\"devices\":[" + list + "]}";
  return kSuccess;
}

uint32_t CaptureManager::shutdown() {
  if (active.exchange(0) == 0) return kSuccess;
  CaptureDeviceStateInfoData stop{.state = 2};
  for (ICaptureDevice* device : listed()) device->setActiveState(&stop);
  return kSuccess;
}

}  // namespace qvs
