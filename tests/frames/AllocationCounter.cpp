#include "AllocationCounter.h"

#include <atomic>
#include <cstddef>

namespace {
std::atomic<uint64_t> allocations{0};
}

namespace qvs::test {
uint64_t allocationsSoFar() {
  return allocations.load();
}
}  // namespace qvs::test

// glibc's own entry points stand behind ours; operator new comes through malloc. Libraries that are opened at
// run time see them where the program exports its symbols.
#pragma GCC visibility push(default)
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
  ++allocations;
  return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
  ++allocations;
  return __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) {
  ++allocations;
  return __libc_realloc(memory, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
  ++allocations;
  return __libc_memalign(alignment, size);
}
int posix_memalign(void** memory, size_t alignment, size_t size) {
  ++allocations;
  *memory = __libc_memalign(alignment, size);
  return *memory != nullptr ? 0 : 12;
}
}
#pragma GCC visibility pop
