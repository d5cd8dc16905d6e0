#pragma once

#include <mutex>
#include <vector>

#include "capture/decklink/DeckLinkObject.h"
#include "capture/decklink/DeckLinkPtr.h"

namespace qvs {

/// What can be unplugged.
class IBlackMagicPluggable {
 public:
  virtual ~IBlackMagicPluggable() = default;
  /// The card's own number; 0 where it has none.
  virtual uint64_t getPersistentId() = 0;
  /// On the driver's thread.
  virtual void setPlugged(bool value) = 0;
};

/// Hears of cards that come and go, for the process's devices.
class BlackMagicDiscovery final : public DeckLinkObject<IDeckLinkDeviceNotificationCallback> {
 public:
  static BlackMagicDiscovery& getInstance();

  /// Starts to listen, once; false where the driver offers no discovery.
  bool install();
  void add(IBlackMagicPluggable* device);
  /// From then on the device is left alone.
  void remove(IBlackMagicPluggable* device);

  HRESULT DeckLinkDeviceArrived(IDeckLink* card) override { return tell(card, true); }
  HRESULT DeckLinkDeviceRemoved(IDeckLink* card) override { return tell(card, false); }

 private:
  HRESULT tell(IDeckLink* card, bool plugged);

  std::mutex lock;  ///< guards what follows; held while a device hears of its card
  DeckLinkPtr<IDeckLinkDiscovery> discovery;
  std::vector<IBlackMagicPluggable*> devices;  ///< borrowed
};

}  // namespace qvs
