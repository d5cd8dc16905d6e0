#pragma once

#include <cstdlib>

namespace qvs {

/// Ends malloc'ed memory held by a unique pointer.
struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

}  // namespace qvs
