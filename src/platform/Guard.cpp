// Printing a caught exception without needing memory.
#include "platform/Guard.h"

#include <cstdio>

namespace qvs {

void printException(const char* label, const std::exception& exception) {
  // No stream and no formatting library: this runs after a failed allocation too.
  std::printf("%s: %s\n", label, exception.what());
  std::fflush(stdout);
}

}  // namespace qvs
