#pragma once

#include <memory>

#include "mc_ucc.h"

namespace qvs {

struct UccDestroyer {
  void operator()(void* instance) const { UCC_Destroy(instance); }
};

/// UCC_Transform's answer when memory fails.
inline constexpr uint32_t kUccNoMemory = 2;

/// A converter instance; empty when memory failed.
using UccInstance = std::unique_ptr<void, UccDestroyer>;

}  // namespace qvs
