// Wall clock and HTTP date.
#include "platform/SystemTimeUtil.h"

#include <sys/time.h>

#include <ctime>

namespace qvs {

SystemTimeUtil* SystemTimeUtil::getInstance() {
  static SystemTimeUtil instance;
  return &instance;
}

uint64_t SystemTimeUtil::getSystemTimeMilliseconds() {
  timeval now{};
  if (gettimeofday(&now, nullptr) != 0) return 0;
  return static_cast<uint64_t>(now.tv_sec) * 1000 + static_cast<uint64_t>(now.tv_usec) / 1000;
}

void SystemTimeUtil::getHTTPDateTime(char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return;
  time_t now = time(nullptr);
  tm parts{};
  gmtime_r(&now, &parts);
  // strftime leaves the buffer undefined where the text doesn't fit.
  if (strftime(buffer, size, "%a, %d %b %Y %H:%M:%S %Z", &parts) == 0) buffer[0] = '\0';
}

}  // namespace qvs
