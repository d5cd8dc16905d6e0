#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace qvs::test {

/// Bytes between two pages that nobody may touch: a read or write past the guarded edge ends the process. The
/// other edge lies against slack up to the page, filled with kFill.
class GuardedBytes {
 public:
  enum Edge { kEnd, kStart };
  static constexpr uint8_t kFill = 0xC5;

  explicit GuardedBytes(size_t size, Edge edge = kEnd) : bytes(size), page(sysconf(_SC_PAGESIZE)) {
    room = (size + page - 1) / page * page;
    map =
        static_cast<uint8_t*>(mmap(nullptr, room + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (map == MAP_FAILED || mprotect(map + page, room, PROT_READ | PROT_WRITE) != 0) abort();
    memset(map + page, kFill, room);
    start = edge == kEnd ? map + page + room - size : map + page;
  }
  ~GuardedBytes() { munmap(map, room + 2 * page); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  uint8_t* data() { return start; }
  const uint8_t* data() const { return start; }
  size_t size() const { return bytes; }

  /// Whether the slack beside the bytes is as it was made.
  bool slackIntact() const {
    for (const uint8_t* p = map + page; p != map + page + room; ++p) {
      if ((p < start || p >= start + bytes) && *p != kFill) return false;
    }
    return true;
  }

 private:
  size_t bytes;
  size_t page;
  size_t room;
  uint8_t* map;
  uint8_t* start;
};

}  // namespace qvs::test
