// libxvcucore.so without a card: its memory, whose pictures have owners, and the script of faults.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "Card.h"
#include "fakes/support/FaultScript.h"

namespace qvs::fakes {
namespace {

struct Memory {
  std::mutex lock;
  std::condition_variable freed;
  std::deque<std::unique_ptr<CardPicture>> all;  ///< kept when freed, so that a second release is seen
  std::vector<std::vector<uint8_t>> spare;
  int64_t live = 0;
  double spent = 0;
};

Memory& memory() {
  static auto* made = new Memory;
  return *made;
}

[[noreturn]] void broken(const char* what, const CardPicture& picture, const char* who) {
  std::fprintf(stderr, "fake card: %s by %s: picture %llu of %ux%u, made by %s, %s's\n", what, who,
               static_cast<unsigned long long>(picture.serial), picture.width, picture.height, picture.maker,
               picture.live ? picture.owner : "nobody");
  std::abort();
}

void check(const CardPicture& picture, const char* owner) {
  if (!picture.live) broken("used after its release", picture, owner);
  if (std::string_view(picture.owner) != owner) broken("used by another than its owner", picture, owner);
}

void releaseByHost(void* address) {
  auto* const handle = static_cast<xvcu_opaque_object**>(address);
  fake_card_free(reinterpret_cast<CardPicture*>(*handle), "host");
  *handle = nullptr;
}

}  // namespace
}  // namespace qvs::fakes

using namespace qvs::fakes;

void fake_card_script(const char* text) {
  faultScript().set(text);
}
int64_t fake_card_number(const char* name, int64_t otherwise) {
  return faultScript().number(name, otherwise);
}
uint64_t fake_card_calls() {
  return faultScript().calls();
}

int32_t fake_card_fault(const char* name) {
  const Fault fault = faultScript().next(name);
  if (fault.kind == Fault::Kind::kLate) {
    std::this_thread::sleep_for(std::chrono::milliseconds(fault.value));
    return 0;
  }
  return fault ? static_cast<int32_t>(fault.kind == Fault::Kind::kStatus ? fault.value : -1) : 0;
}

double fake_card_seconds() {
  const std::lock_guard hold(memory().lock);
  return memory().spent;
}

void fake_card_spend(double seconds) {
  const std::lock_guard hold(memory().lock);
  memory().spent += seconds;
}

int64_t fake_card_live() {
  const std::lock_guard hold(memory().lock);
  return memory().live;
}

CardPicture* fake_card_alloc(uint32_t width, uint32_t height, const char* owner, const char* maker) {
  Memory& card = memory();
  const auto patience = std::chrono::milliseconds(fake_card_number("stall", 200));
  std::unique_lock hold(card.lock);
  if (!card.freed.wait_for(hold, patience, [&] { return card.live < fake_card_number("handles", 64); })) {
    return nullptr;
  }
  auto made = std::make_unique<CardPicture>();
  made->object.xvcu_destroy_object = releaseByHost;
  made->width = width;
  made->height = height;
  if (!card.spare.empty()) {
    made->bytes = std::move(card.spare.back());
    card.spare.pop_back();
  }
  made->bytes.resize(uint64_t{width} * height + uint64_t{(width + 1) / 2} * 2 * ((height + 1) / 2));
  made->maker = maker;
  made->owner = owner;
  made->serial = card.all.size();
  made->live = true;
  ++card.live;
  card.all.push_back(std::move(made));
  return card.all.back().get();
}

CardPicture* fake_card_pass(void* handle, const char* from, const char* to) {
  if (handle == nullptr) return nullptr;
  const std::lock_guard hold(memory().lock);
  auto* picture = static_cast<CardPicture*>(handle);
  check(*picture, from);
  picture->owner = to;
  return picture;
}

void fake_card_free(CardPicture* picture, const char* owner) {
  Memory& card = memory();
  const std::lock_guard hold(card.lock);
  check(*picture, owner);
  picture->live = false;
  card.spare.push_back(std::move(picture->bytes));
  picture->bytes = {};
  --card.live;
  card.freed.notify_all();
}

QVS_FAKE_EXPORT void track_report() {
  std::printf("fake card: %lld pictures\n", static_cast<long long>(fake_card_live()));
}
