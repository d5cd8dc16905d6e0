#pragma once

#include <memory>

#include "mc_ucc.h"

namespace qvs {

struct UccDestroyer {
  void operator()(void* instance) const { UCC_Destroy(instance); }
};

/// A converter instance; empty when memory failed.
using UccInstance = std::unique_ptr<void, UccDestroyer>;

}  // namespace qvs
