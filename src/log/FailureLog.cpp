// Failures in the log, each reason told when it is new and when its count has doubled.

#include "log/FailureLog.h"

#include <fmt/format.h>

#include <bit>
#include <cstring>
#include <string>

#include "platform/Guard.h"

namespace qvs {

uint32_t FailureLog::count(const char* label, const char* reason) {
  const std::lock_guard<std::mutex> guard(lock);
  for (Row& row : rows) {
    if (std::strcmp(row.label, label) == 0 && std::strcmp(row.reason, reason) == 0) return ++row.count;
  }
  rows.push_back({label, reason, 1});
  return 1;
}

void FailureLog::tell(LogCollector& log, const char* label, const Failure& failure) {
  log.countTrouble();
  guarded("FailureLog::tell", [&] {
    const uint32_t times = count(label, failure.reason);
    if (!std::has_single_bit(times)) return;
    std::string operation = label;
    if (const size_t colons = operation.find("::"); colons != std::string::npos) {
      operation.replace(colons, 2, ".");
    }
    std::string line = fmt::format("{}[{{context}}]: {}", operation, failure.reason);
    if (failure.number) line += fmt::format(": {}", *failure.number);
    if (times > 1) line += fmt::format(" ({} times)", times);
    log.log(failure.context, failure.index, failure.level, line);
  });
}

}  // namespace qvs
