// The replaced or wrapped allocator that fails on demand.

#include "support/FailingAllocator.h"

#include <cerrno>
#include <cstddef>
#include <new>

#ifdef QVS_WRAPPED_ALLOCATOR
#define QVS_OURS(name) __wrap_##name
#define QVS_REAL(name) __real_##name
#else
#define QVS_OURS(name) name
#define QVS_REAL(name) __libc_##name
#endif

namespace {

struct State {
  bool armed = false;
  qvs::test::FailureMode mode = qvs::test::FailureMode::Once;
  uint64_t failAt = 0;
  qvs::test::AllocatorReport report;
};

constinit thread_local State state;

/// False: this allocation is to fail.
bool mayAllocate(size_t size) {
  if (!state.armed) return true;
  state.report.bytes += size;
  const uint64_t number = ++state.report.allocations;
  if (state.failAt == 0 || number < state.failAt) return true;
  if (number > state.failAt && state.mode == qvs::test::FailureMode::Once) return true;
  state.report.failed = true;
  return false;
}

void* counted(void* block) {
  if (state.armed && block) ++state.report.liveBlocks;
  return block;
}

void countFree(void* block) {
  if (state.armed && block) --state.report.liveBlocks;
}

void* refuse() {
  errno = ENOMEM;
  return nullptr;
}

}  // namespace

namespace qvs::test {

void armAllocator(uint64_t number, FailureMode mode) {
  state = {true, mode, number, {}};
}

AllocatorReport disarmAllocator() {
  state.armed = false;
  return state.report;
}

}  // namespace qvs::test

// Seen by libraries that are opened at run time as well, where the program exports its symbols.
#pragma GCC visibility push(default)
extern "C" {

void* QVS_REAL(malloc)(size_t);
void* QVS_REAL(calloc)(size_t, size_t);
void* QVS_REAL(realloc)(void*, size_t);
void QVS_REAL(free)(void*);
#ifdef QVS_WRAPPED_ALLOCATOR
void* __real_aligned_alloc(size_t, size_t);
#define QVS_REAL_ALIGNED __real_aligned_alloc
#else
void* __libc_memalign(size_t, size_t);
#define QVS_REAL_ALIGNED __libc_memalign
#endif

void* QVS_OURS(malloc)(size_t size) {
  return mayAllocate(size) ? counted(QVS_REAL(malloc)(size)) : refuse();
}

void* QVS_OURS(calloc)(size_t count, size_t size) {
  return mayAllocate(count * size) ? counted(QVS_REAL(calloc)(count, size)) : refuse();
}

void* QVS_OURS(realloc)(void* block, size_t size) {
  if (!mayAllocate(size)) return refuse();
  void* moved = QVS_REAL(realloc)(block, size);
  return block ? moved : counted(moved);
}

void* QVS_OURS(aligned_alloc)(size_t alignment, size_t size) {
  return mayAllocate(size) ? counted(QVS_REAL_ALIGNED(alignment, size)) : refuse();
}

int QVS_OURS(posix_memalign)(void** block, size_t alignment, size_t size) {
  void* made = QVS_OURS(aligned_alloc)(alignment, (size + alignment - 1) / alignment * alignment);
  if (!made) return ENOMEM;
  *block = made;
  return 0;
}

#ifndef QVS_WRAPPED_ALLOCATOR
void* memalign(size_t alignment, size_t size) {
  return aligned_alloc(alignment, size);
}
#endif

void QVS_OURS(free)(void* block) {
  countFree(block);
  QVS_REAL(free)(block);
}
}
#pragma GCC visibility pop

#ifdef QVS_WRAPPED_ALLOCATOR
// The C++ library's own calls do not pass the wrapped functions, so its operators are replaced as well.
void* operator new(size_t size) {
  void* block = __wrap_malloc(size ? size : 1);
  if (!block) throw std::bad_alloc();
  return block;
}
void* operator new(size_t size, std::align_val_t alignment) {
  const auto unit = static_cast<size_t>(alignment);
  void* block = __wrap_aligned_alloc(unit, (size + unit - 1) / unit * unit);
  if (!block) throw std::bad_alloc();
  return block;
}
void* operator new[](size_t size) {
  return operator new(size);
}
void* operator new[](size_t size, std::align_val_t alignment) {
  return operator new(size, alignment);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size ? size : 1);
}
void operator delete(void* block) noexcept {
  __wrap_free(block);
}
void operator delete[](void* block) noexcept {
  __wrap_free(block);
}
void operator delete(void* block, size_t) noexcept {
  __wrap_free(block);
}
void operator delete[](void* block, size_t) noexcept {
  __wrap_free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
  __wrap_free(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
  __wrap_free(block);
}
void operator delete(void* block, size_t, std::align_val_t) noexcept {
  __wrap_free(block);
}
void operator delete[](void* block, size_t, std::align_val_t) noexcept {
  __wrap_free(block);
}
#endif
