// Bytes between guarded ranges, and the list of all of them that the handler of bad accesses reads.
#include "common/GuardedBytes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>

namespace qvs::validator {
namespace {

std::mutex listLock;
GuardedBytes* newest = nullptr;

}  // namespace

GuardedBytes::GuardedBytes(const char* what, size_t size, Edge edge)
    : name(what), bytes(size), page(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
  room = size == 0 ? page : (size + page - 1) / page * page;
  map =
      static_cast<uint8_t*>(mmap(nullptr, room + 2 * kGuard, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  if (map == MAP_FAILED) abort();
  open();
  memset(map + kGuard, kFill, room);
  start = edge == kEnd ? map + kGuard + room - size : map + kGuard;
  const std::lock_guard lock(listLock);
  before = newest;
  if (newest != nullptr) newest->after = this;
  newest = this;
}

GuardedBytes::~GuardedBytes() {
  {
    const std::lock_guard lock(listLock);
    if (before != nullptr) before->after = after;
    if (after != nullptr) after->before = before;
    if (newest == this) newest = before;
  }
  munmap(map, room + 2 * kGuard);
}

void GuardedBytes::protect(int protection, const char* because) {
  reason = because;
  if (mprotect(map + kGuard, room, protection) != 0) abort();
}

void GuardedBytes::makeReadOnly(const char* because) {
  protect(PROT_READ, because);
}

void GuardedBytes::revoke(const char* because) {
  protect(PROT_NONE, because);
}

void GuardedBytes::open() {
  protect(PROT_READ | PROT_WRITE, nullptr);
}

bool GuardedBytes::slackIntact() const {
  for (const uint8_t* at = map + kGuard; at != map + kGuard + room; ++at) {
    if ((at < start || at >= start + bytes) && *at != kFill) return false;
  }
  return true;
}

// Called when the process is about to end, possibly with the lock held by the thread that went astray: it takes none.
std::string GuardedBytes::describe(const void* address) {
  const auto* at = static_cast<const uint8_t*>(address);
  if (reinterpret_cast<uintptr_t>(address) < 0x10000) return "followed a null pointer";
  for (const GuardedBytes* one = newest; one != nullptr; one = one->before) {
    if (at < one->map || at >= one->map + one->room + 2 * kGuard) continue;
    if (at == one->handle()) return std::string("used as an address the handle of ") + one->name;
    if (at < one->start) return "touched memory in front of " + std::string(one->name);
    if (at >= one->start + one->bytes) {
      return "touched memory behind " + std::string(one->name) + ", " +
             std::to_string(at - one->start - static_cast<ptrdiff_t>(one->bytes)) + " bytes beyond its end";
    }
    return "touched " + std::string(one->reason != nullptr ? one->reason : one->name);
  }
  return "touched memory that is not there";
}

}  // namespace qvs::validator
