#pragma once

#include <string>

#include "capture/decklink/DeckLinkPtr.h"
#include "platform/SharedLibrary.h"

namespace qvs {

/// The driver's library, opened at run time. It stays open until the process ends, as its threads may.
class DeckLinkLibrary {
 public:
  static DeckLinkLibrary& getInstance();

  /// Before any use: opens the library; false where there is none, for which `describe` says why.
  bool Initialize();

  // New objects; empty where the library offers none.
  DeckLinkPtr<IDeckLinkIterator> GetDeckLinkIterator() const;
  DeckLinkPtr<IDeckLinkVideoConversion> CreateVideoConversionInstance() const;
  DeckLinkPtr<IDeckLinkDiscovery> CreateDiscoveryInstance() const;

  /// Which library and factory was found, or why none.
  std::string describe() const;

 private:
  using Factory = IUnknown* (*)();
  /// The newest factory of a kind whose objects have the interface that we know.
  template <typename Interface>
  DeckLinkPtr<Interface> create(const char* name, const char* known, std::string* found = nullptr) const;

  SharedLibrary library;
};

}  // namespace qvs
