// The replaced C allocator that counts, over glibc's own entry points; operator new comes through malloc.

#include "support/AllocationCounter.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace {

std::atomic<uint64_t> counted{0};
std::atomic<uint64_t> apart{0};
constinit thread_local int depth = 0;

void count() {
  (depth ? apart : counted).fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

namespace qvs::test {

uint64_t allocationsSoFar() {
  return counted.load();
}

uint64_t allocationsApart() {
  return apart.load();
}

AllocationsApart::AllocationsApart() {
  ++depth;
}

AllocationsApart::~AllocationsApart() {
  --depth;
}

}  // namespace qvs::test

// Shared libraries see only exported symbols.
#pragma GCC visibility push(default)
extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t members, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
  count();
  return __libc_malloc(size);
}

void* calloc(size_t members, size_t size) {
  count();
  return __libc_calloc(members, size);
}

void* realloc(void* memory, size_t size) {
  count();
  return __libc_realloc(memory, size);
}

void* memalign(size_t alignment, size_t size) {
  count();
  return __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
  *memory = memalign(alignment, size);
  return *memory ? 0 : ENOMEM;
}
}
#pragma GCC visibility pop
