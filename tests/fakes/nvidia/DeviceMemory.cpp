// Memory of an emulated card: addresses that fault on the host, with the bytes elsewhere.
#include "DeviceMemory.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace qvs::fakes {
namespace {

constexpr size_t kPage = 4096;
constexpr uint8_t kFresh = 0xA5;   ///< what a new block holds
constexpr uint8_t kBehind = 0x5A;  ///< from a block's end to the end of its page

uint8_t* reserve(uint64_t bytes) {
  void* memory = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) {
    std::perror("emulated card: no address space");
    std::abort();
  }
  return static_cast<uint8_t*>(memory);
}

}  // namespace

DeviceMemory::DeviceMemory(uint64_t addresses, uint64_t budgetBytes)
    : range(addresses),
      most(budgetBytes),
      base(reinterpret_cast<uint64_t>(reserve(addresses))),
      backing(reserve(addresses)) {}

uint64_t DeviceMemory::findPlace(size_t needed) const {
  for (uint64_t from : {cursor, uint64_t{0}}) {
    auto next = live.lower_bound(from);
    if (next != live.begin()) {
      const auto& [offset, block] = *std::prev(next);
      from = std::max(from, offset + block.pages + kPage);
    }
    for (; next != live.end() && next->first < from + needed; ++next) {
      from = next->first + next->second.pages + kPage;
    }
    if (from + needed <= range) return from;
  }
  return range;
}

void DeviceMemory::open(uint64_t offset, Block& block) {
  uint8_t* at = backing + offset;
  mprotect(at, block.pages, PROT_READ | PROT_WRITE);
  std::memset(at, kFresh, block.bytes);
  std::memset(at + block.bytes, kBehind, block.pages - block.bytes);
  block.ready = true;
}

uint64_t DeviceMemory::allocate(size_t bytes, const void* owner, bool ready, bool counted) {
  const std::lock_guard hold(lock);
  if (bytes == 0 || bytes > most - used) return 0;
  const size_t pages = (bytes + kPage - 1) / kPage * kPage;
  const uint64_t offset = findPlace(pages + kPage);
  if (offset == range) return 0;
  cursor = offset + pages + kPage;
  Block& block = live[offset] = {bytes, pages, owner, false, false, counted};
  if (ready) open(offset, block);
  if (counted) {
    used += bytes;
    ++count;
  }
  return base + offset;
}

void DeviceMemory::makeReady(uint64_t pointer) {
  const std::lock_guard hold(lock);
  const auto at = live.find(pointer - base);
  if (at != live.end()) open(at->first, at->second);
}

bool DeviceMemory::announceEnd(uint64_t pointer) {
  const std::lock_guard hold(lock);
  const auto at = live.find(pointer - base);
  if (at == live.end() || at->second.ending) return false;
  at->second.ending = true;
  return true;
}

void DeviceMemory::close(Blocks::iterator at) {
  const auto& [offset, block] = *at;
  uint8_t* memory = backing + offset;
  if (block.ready) {
    const uint8_t* end = memory + block.pages;
    if (std::any_of(memory + block.bytes, memory + block.pages,
                    [](uint8_t byte) { return byte != kBehind; })) {
      ++overrun;
      std::fprintf(stderr, "emulated card: a block of %zu bytes was written past its end\n", block.bytes);
    }
    madvise(memory, static_cast<size_t>(end - memory), MADV_DONTNEED);
    mprotect(memory, block.pages, PROT_NONE);
  }
  if (block.counted) {
    used -= block.bytes;
    --count;
  }
  live.erase(at);
}

bool DeviceMemory::free(uint64_t pointer) {
  const std::lock_guard hold(lock);
  const auto at = live.find(pointer - base);
  if (at == live.end()) return false;
  close(at);
  return true;
}

size_t DeviceMemory::freeAllOf(const void* owner) {
  const std::lock_guard hold(lock);
  const int64_t before = count;
  for (auto at = live.begin(); at != live.end();) {
    const auto block = at++;
    if (block->second.owner == owner) close(block);
  }
  return static_cast<size_t>(before - count);
}

DeviceMemory::Blocks::iterator DeviceMemory::find(uint64_t pointer, size_t length) {
  const uint64_t offset = pointer - base;
  auto at = live.upper_bound(offset);
  if (offset >= range || at == live.begin()) return live.end();
  --at;
  return offset - at->first <= at->second.bytes && length <= at->second.bytes - (offset - at->first)
             ? at
             : live.end();
}

bool DeviceMemory::holds(uint64_t pointer, size_t length) {
  const std::lock_guard hold(lock);
  const auto at = find(pointer, length);
  return at != live.end() && !at->second.ending;
}

uint8_t* DeviceMemory::bytesAt(uint64_t pointer, size_t length) {
  const std::lock_guard hold(lock);
  const auto at = find(pointer, length);
  return at != live.end() && at->second.ready ? backing + (pointer - base) : nullptr;
}

int64_t DeviceMemory::blocks() {
  const std::lock_guard hold(lock);
  return count;
}

int64_t DeviceMemory::bytes() {
  const std::lock_guard hold(lock);
  return static_cast<int64_t>(used);
}

uint64_t DeviceMemory::overruns() {
  const std::lock_guard hold(lock);
  return overrun;
}

}  // namespace qvs::fakes
