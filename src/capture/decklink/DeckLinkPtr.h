#pragma once

#include <DeckLinkAPI.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace qvs {

/// One reference to an object of the driver's, or to one of ours that it may hold as well.
template <typename Interface>
class DeckLinkPtr {
 public:
  DeckLinkPtr() = default;
  ~DeckLinkPtr() { reset(); }
  DeckLinkPtr(const DeckLinkPtr& other) : object(other.object) {
    if (object != nullptr) object->AddRef();
  }
  DeckLinkPtr(DeckLinkPtr&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
  DeckLinkPtr& operator=(DeckLinkPtr other) noexcept {
    std::swap(object, other.object);
    return *this;
  }

  /// Takes the caller's reference over.
  static DeckLinkPtr adopt(Interface* given) {
    DeckLinkPtr made;
    made.object = given;
    return made;
  }
  /// A reference beside the caller's.
  static DeckLinkPtr share(Interface* given) {
    if (given != nullptr) given->AddRef();
    return adopt(given);
  }

  void reset() {
    if (object != nullptr) std::exchange(object, nullptr)->Release();
  }
  /// Where an operation writes a reference that it gives out.
  Interface** put() {
    reset();
    return &object;
  }
  Interface* get() const { return object; }
  Interface* operator->() const { return object; }
  explicit operator bool() const { return object != nullptr; }

  /// Another interface of the object; empty where it has none.
  template <typename Other>
  DeckLinkPtr<Other> as() const {
    void* found = nullptr;
    if (object == nullptr || object->QueryInterface(Other::kIdentifier, &found) != S_OK) return {};
    return DeckLinkPtr<Other>::adopt(static_cast<Other*>(found));
  }

 private:
  Interface* object = nullptr;
};

/// A text that the driver gives out, by an operation that takes the address of its pointer.
template <typename Read>
std::string deckLinkText(Read read, const char* otherwise) {
  const char* given = nullptr;
  if (read(&given) != S_OK || given == nullptr) return otherwise;
  std::string text = given;
  std::free(const_cast<char*>(given));
  return text;
}

}  // namespace qvs
