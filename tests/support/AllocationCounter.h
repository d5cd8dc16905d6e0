#pragma once

#include <cstdint>

/// Counts what all threads allocate. The C allocator is replaced, so that libraries count too; a program whose
/// run-time libraries shall count exports its symbols.
namespace qvs::test {

/// Allocations since the process began, without those that were set apart.
uint64_t allocationsSoFar();
/// Those that were set apart.
uint64_t allocationsApart();

/// While one lives, its thread's allocations are set apart.
class AllocationsApart {
 public:
  AllocationsApart();
  ~AllocationsApart();
  AllocationsApart(const AllocationsApart&) = delete;
  AllocationsApart& operator=(const AllocationsApart&) = delete;
};

}  // namespace qvs::test
