// Tells devices when their card is unplugged and when it is there again.
#include "capture/decklink/BlackMagicDiscovery.h"

#include <algorithm>

#include "capture/decklink/DeckLinkLibrary.h"
#include "platform/Guard.h"

namespace qvs {

BlackMagicDiscovery& BlackMagicDiscovery::getInstance() {
  static auto* const discovery = new BlackMagicDiscovery;
  return *discovery;
}

bool BlackMagicDiscovery::install() {
  const std::lock_guard guard(lock);
  if (discovery) return true;
  DeckLinkPtr<IDeckLinkDiscovery> made = DeckLinkLibrary::getInstance().CreateDiscoveryInstance();
  if (!made || made->InstallDeviceNotifications(this) != S_OK) return false;
  discovery = std::move(made);
  return true;
}

void BlackMagicDiscovery::add(IBlackMagicPluggable* device) {
  const std::lock_guard guard(lock);
  devices.push_back(device);
}

void BlackMagicDiscovery::remove(IBlackMagicPluggable* device) {
  const std::lock_guard guard(lock);
  std::erase(devices, device);
}

HRESULT BlackMagicDiscovery::tell(IDeckLink* card, bool plugged) {
  return guarded(
      "BlackMagicDiscovery::tell",
      [&]() -> HRESULT {
        int64_t id = 0;
        const auto attributes = DeckLinkPtr<IDeckLink>::share(card).as<IDeckLinkProfileAttributes>();
        if (!attributes || attributes->GetInt(BMDDeckLinkPersistentID, &id) != S_OK || id == 0) return S_OK;
        const std::lock_guard guard(lock);
        for (IBlackMagicPluggable* device : devices) {
          if (device->getPersistentId() == static_cast<uint64_t>(id)) device->setPlugged(plugged);
        }
        return S_OK;
      },
      E_UNEXPECTED);
}

}  // namespace qvs
