#pragma once

#include <atomic>
#include <cstring>
#include <string>

#include "fakes/decklink/CardScript.h"

namespace qvs::fakes::card {

inline bool isSame(const Identifier& given, const char* id) {
  int at = 0;
  for (const char* c = id; *c != 0; ++c) {
    if (*c == '-') continue;
    const int digit = *c <= '9' ? *c - '0' : *c - 'A' + 10;
    if ((at % 2 == 0 ? given.bytes[at / 2] >> 4 : given.bytes[at / 2] & 15) != digit) return false;
    ++at;
  }
  return true;
}

inline constexpr Status kNoInterface = static_cast<Status>(0x80000004);
inline constexpr Status kFailed = static_cast<Status>(0x80000008);
inline constexpr const char* kUnknownId = "00000000-0000-0000-C000-000000000046";

/// What all objects of the fake are: counted references, found in the card's counts of what is open.
template <typename Interface>
class CardObject : public Interface {
 public:
  explicit CardObject(const char* kind) : kind(kind) { cardCounts().opened(kind); }
  virtual ~CardObject() { cardCounts().closed(kind); }

  Status QueryInterface(Identifier id, void** object) override {
    *object = nullptr;
    if (isSame(id, Interface::kId)) {
      *object = static_cast<Interface*>(this);
    } else if (isSame(id, kUnknownId)) {
      *object = static_cast<Unknown*>(this);
    } else {
      return kNoInterface;
    }
    AddRef();
    return 0;
  }
  unsigned long AddRef() override { return ++references; }
  unsigned long Release() override {
    const unsigned long left = --references;
    if (left == 0) delete this;
    return left;
  }

 private:
  const char* kind;
  std::atomic<unsigned long> references{1};
};

inline Status giveText(const std::string& text, const char** out) {
  *out = strdup(text.c_str());
  return 0;
}

}  // namespace qvs::fakes::card

/// In front of an operation's work.
#define QVS_CARD_CALL(name) \
  if (const auto answer = qvs::fakes::card::faultOf(name)) return answer
