#pragma once

#include <cstdint>

namespace qvs {

/// The one wall clock of the process.
class SystemTimeUtil {
 public:
  static SystemTimeUtil* getInstance();

  /// Milliseconds since 1970; 0 when the clock can't be read.
  uint64_t getSystemTimeMilliseconds();

  /// Writes the current time in the form of an HTTP date into the `size` bytes at `buffer`, terminated.
  void getHTTPDateTime(char* buffer, uint32_t size);
};

}  // namespace qvs
