#pragma once

#include <cstdint>
#include <ctime>
#include <vector>

#include "xvcu_opaque.h"

// What the fake's libraries share through libxvcucore.so: the card's memory, and one script of faults for all.
#define QVS_FAKE_EXPORT extern "C" __attribute__((visibility("default")))

namespace qvs::fakes {

/// A picture in the card's memory, NV12 without slack. Its first member is what others know as its handle.
struct CardPicture {
  xvcu_opaque_object object;
  uint32_t width, height;
  std::vector<uint8_t> bytes;
  const char* maker;  ///< entry point that made it
  const char* owner;  ///< library that has it now, or "host"
  uint64_t serial;
  bool live;

  uint8_t* y() { return bytes.data(); }
  uint8_t* uv() { return bytes.data() + uint64_t{width} * height; }
};

}  // namespace qvs::fakes

/// Replaces the script, see FaultScript; `handles=N`: the card has room for so many pictures (64), `stall=MS`: how long it
/// waits for one (200), `pipeline=N`: pictures that the scaler holds back (1).
QVS_FAKE_EXPORT void fake_card_script(const char* text);
/// Counts the call; a status where the script wants it to fail, else 0.
QVS_FAKE_EXPORT int32_t fake_card_fault(const char* name);
QVS_FAKE_EXPORT int64_t fake_card_number(const char* name, int64_t otherwise);
QVS_FAKE_EXPORT uint64_t fake_card_calls();
QVS_FAKE_EXPORT int64_t fake_card_live();
/// Null where the card stays full. The picture is `owner`'s.
QVS_FAKE_EXPORT qvs::fakes::CardPicture* fake_card_alloc(uint32_t width, uint32_t height, const char* owner,
                                                         const char* maker);
/// From one owner to the next. Whoever hands on what isn't theirs, or isn't there any more, ends the process with a line
/// that says where the picture was made.
QVS_FAKE_EXPORT qvs::fakes::CardPicture* fake_card_pass(void* handle, const char* from, const char* to);
QVS_FAKE_EXPORT void fake_card_free(qvs::fakes::CardPicture* picture, const char* owner);

/// What the entry points that begin with QVS_U30_CALL have taken of the processor so far.
QVS_FAKE_EXPORT double fake_card_seconds();
QVS_FAKE_EXPORT void fake_card_spend(double seconds);

namespace qvs::fakes {

class CardClock {
 public:
  CardClock() : begin(now()) {}
  ~CardClock() { fake_card_spend(now() - begin); }
  CardClock(const CardClock&) = delete;
  CardClock& operator=(const CardClock&) = delete;

 private:
  static double now() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
  }
  double begin;
};

}  // namespace qvs::fakes

/// Begins an entry point: answers the status that the script orders, and counts the time.
#define QVS_U30_CALL(name)           \
  const qvs::fakes::CardClock clock; \
  if (const int32_t ordered = fake_card_fault(name); ordered != 0) return ordered
