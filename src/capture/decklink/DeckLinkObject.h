#pragma once

#include <DeckLinkAPI.h>

#include <atomic>

namespace qvs {

/// What objects of ours are that the driver sees: counted, found by one identifier. Made with one reference.
template <typename Interface>
class DeckLinkObject : public Interface {
 public:
  DeckLinkObject(const DeckLinkObject&) = delete;
  DeckLinkObject& operator=(const DeckLinkObject&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != Interface::kIdentifier && iid != IUnknown::kIdentifier) return E_NOINTERFACE;
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return ++references; }
  ULONG Release() override {
    const ULONG left = --references;
    if (left == 0) delete this;
    return left;
  }

 protected:
  DeckLinkObject() = default;
  virtual ~DeckLinkObject() = default;

 private:
  std::atomic<ULONG> references{1};
};

}  // namespace qvs
