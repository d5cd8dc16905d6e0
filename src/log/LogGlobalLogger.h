#pragma once

#include "log/FailureLog.h"
#include "log/LogCollector.h"

namespace qvs {

/// The process-wide collector, for code that has no session. Never destroyed.
class LogGlobalLogger {
 public:
  static LogGlobalLogger* getInstance();
  static ILogger* getLogger() { return &getInstance()->logCollector; }

  LogCollector& getLogCollector() { return logCollector; }

  /// Tells a failure that no session's log can take.
  void tell(const char* label, const Failure& failure) { failures.tell(logCollector, label, failure); }

 private:
  LogGlobalLogger() = default;

  LogCollector logCollector;
  FailureLog failures;
};

/// `logger`, or the process-wide one where a stage was given none.
inline ILogger* loggerOrGlobal(ILogger* logger) {
  return logger != nullptr ? logger : LogGlobalLogger::getLogger();
}

}  // namespace qvs
