// The counted switch of malloc's fill byte.
#include "platform/MalloptCaller.h"

#include <malloc.h>

#include <mutex>

namespace qvs {

int32_t MalloptCaller::users = 0;

static std::mutex& usersMutex() {
  static std::mutex mutex;
  return mutex;
}

void MalloptCaller::perturbEnsure(int32_t value) {
  const std::lock_guard guard(usersMutex());
  ++users;
  mallopt(M_PERTURB, value);
}

void MalloptCaller::perturbRelease() {
  const std::lock_guard guard(usersMutex());
  if (users == 0) return;
  if (--users == 0) mallopt(M_PERTURB, 0);
}

}  // namespace qvs
