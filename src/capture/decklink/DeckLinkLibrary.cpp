// Opens the driver's library and finds its factories, whose names carry a version.
#include "capture/decklink/DeckLinkLibrary.h"

#include <fmt/format.h>

namespace qvs {

namespace {
constexpr const char* kLibrary = "libDeckLinkAPI.so";
constexpr const char* kOtherVersions[] = {"_0005", "_0004", "_0003", "_0002", "_0001"};
constexpr const char* kIteratorName = "CreateDeckLinkIteratorInstance";
constexpr const char* kIteratorVersion = "_0004";
}  // namespace

DeckLinkLibrary& DeckLinkLibrary::getInstance() {
  static auto* const library = new DeckLinkLibrary;
  return *library;
}

bool DeckLinkLibrary::Initialize() {
  return library.isOpen() || library.open(kLibrary);
}

template <typename Interface>
DeckLinkPtr<Interface> DeckLinkLibrary::create(const char* name, const char* known,
                                               std::string* found) const {
  if (!library.isOpen()) return {};
  const auto made = [&](const char* version) -> DeckLinkPtr<Interface> {
    const std::string symbol = std::string(name) + version;
    const auto factory = library.symbol<Factory>(symbol.c_str());
    if (factory == nullptr) return {};
    if (found != nullptr) *found = symbol;
    // The identifier is that of a table that we know: an older or newer library may have another.
    return DeckLinkPtr<IUnknown>::adopt(factory()).as<Interface>();
  };
  if (DeckLinkPtr<Interface> object = made(known)) return object;
  for (const char* version : kOtherVersions) {
    if (std::string_view(version) == known) continue;
    if (DeckLinkPtr<Interface> object = made(version)) return object;
  }
  return {};
}

DeckLinkPtr<IDeckLinkIterator> DeckLinkLibrary::GetDeckLinkIterator() const {
  return create<IDeckLinkIterator>(kIteratorName, kIteratorVersion);
}

DeckLinkPtr<IDeckLinkVideoConversion> DeckLinkLibrary::CreateVideoConversionInstance() const {
  return create<IDeckLinkVideoConversion>("CreateVideoConversionInstance", "_0001");
}

DeckLinkPtr<IDeckLinkDiscovery> DeckLinkLibrary::CreateDiscoveryInstance() const {
  return create<IDeckLinkDiscovery>("CreateDeckLinkDiscoveryInstance", "_0003");
}

std::string DeckLinkLibrary::describe() const {
  if (!library.isOpen()) return library.lastError();
  std::string factory;
  if (create<IDeckLinkIterator>(kIteratorName, kIteratorVersion, &factory)) {
    return fmt::format("{} with {}", kLibrary, factory);
  }
  return factory.empty() ? fmt::format("{} has no {}", kLibrary, kIteratorName)
                         : fmt::format("{} of {} gives nothing that is known", factory, kLibrary);
}

}  // namespace qvs
