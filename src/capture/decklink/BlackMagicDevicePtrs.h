#pragma once

#include "capture/decklink/DeckLinkPtr.h"

namespace qvs {

/// What a card offers; each a reference.
struct BlackMagicDevicePtrs {
  DeckLinkPtr<IDeckLink> deckLink;
  DeckLinkPtr<IDeckLinkInput> deckLinkInput;
  DeckLinkPtr<IDeckLinkVideoConversion> deckLinkFrameConverter;  ///< may be empty
  DeckLinkPtr<IDeckLinkNotification> deckLinkNotification;
  DeckLinkPtr<IDeckLinkProfileAttributes> deckLinkAttributes;
  DeckLinkPtr<IDeckLinkConfiguration> deckLinkConfiguration;
};

}  // namespace qvs
