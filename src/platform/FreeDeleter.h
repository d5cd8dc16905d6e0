#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace qvs {

/// Ends malloc'ed memory held by a unique pointer.
struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

using MallocBytes = std::unique_ptr<uint8_t[], FreeDeleter>;

}  // namespace qvs
