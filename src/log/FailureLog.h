#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "log/LogCollector.h"

namespace qvs {

/// One failure as its log line tells it.
struct Failure {
  const char* reason;  ///< a literal
  LogContext context = kLogContextNone;
  int index = 0;                       ///< of the context
  std::optional<int64_t> number = {};  ///< what was refused; stands behind the reason
  LogLevel level = kLogError;
};

/// Tells failures without flooding the log: what one operation meets for one reason again and again is told
/// the first time, and then each time its count has doubled. Any thread may call; nothing is
/// thrown.
class FailureLog {
 public:
  /// `label` is "Class::operation", a literal.
  void tell(LogCollector& log, const char* label, const Failure& failure);

 private:
  struct Row {
    const char* label;
    const char* reason;
    uint32_t count;
  };

  uint32_t count(const char* label, const char* reason);

  std::mutex lock;
  std::vector<Row> rows;  ///< as many as there are pairs in the code at most
};

}  // namespace qvs
