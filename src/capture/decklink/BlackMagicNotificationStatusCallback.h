#pragma once

#include <cinttypes>
#include <cstdio>

#include "capture/decklink/DeckLinkObject.h"

namespace qvs {

/// Tells on standard output when a card's status changes.
class BlackMagicNotificationStatusCallback final : public DeckLinkObject<IDeckLinkNotificationCallback> {
 public:
  HRESULT Notify(BMDNotifications topic, uint64_t param1, uint64_t param2) override {
    std::printf("BlackMagicNotificationStatusCallback: topic:0x%lx param1:0x%lx param2:0x%lx \n",
                static_cast<unsigned long>(topic), static_cast<unsigned long>(param1),
                static_cast<unsigned long>(param2));
    return S_OK;
  }
};

}  // namespace qvs
