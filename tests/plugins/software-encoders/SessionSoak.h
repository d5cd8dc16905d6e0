#pragma once

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace qvs::test {

inline double residentMegabytes() {
  malloc_trim(0);
  std::ifstream file("/proc/self/statm");
  uint64_t size = 0, resident = 0;
  file >> size >> resident;
  return static_cast<double>(resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE))) / 1e6;
}

/// Calls `session`, which opens one and closes it, 20 times, or as often as QVS_SOAK_SESSIONS says: `live` must be 0
/// after each, and memory must not grow after the first tenth. A sanitizer keeps what is freed: there nothing is measured.
template <typename Session, typename Live>
void soakSessions(Session session, Live live) {
  const char* const asked = std::getenv("QVS_SOAK_SESSIONS");
  const int count = asked != nullptr ? std::atoi(asked) : 20;
  double settled = 0;
  for (int i = 0; i < count && !testing::Test::HasFailure(); ++i) {
    session();
    ASSERT_EQ(live(), 0) << "session " << i;
    if (i == count / 10) settled = residentMegabytes();
  }
  const double grown = residentMegabytes() - settled;
  std::printf("%d sessions: %.2f MB after a tenth, %+.2f MB since\n", count, settled, grown);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_LT(grown, 0.02 * settled + 1);
#endif
}

}  // namespace qvs::test
