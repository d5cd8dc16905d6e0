#pragma once

#include <type_traits>

#include "common/CheckRunner.h"

namespace qvs::validator {

/// Calls an entry point with nothing but nulls and zeros behind its session.
template <typename Result, typename... Parameters>
void callWithNulls(const char* name, Result (*entry)(void*, Parameters...), void* session) {
  if (entry == nullptr) return;
  enter(name);
  entry(session, Parameters{}...);
  enter(nullptr);
}

}  // namespace qvs::validator
