#pragma once

#include "log/LogCollector.h"

namespace qvs {

/// The process-wide collector, for code that has no session. Never destroyed.
class LogGlobalLogger {
 public:
  static LogGlobalLogger* getInstance();
  static ILogger* getLogger() { return &getInstance()->logCollector; }

  LogCollector& getLogCollector() { return logCollector; }

 private:
  LogGlobalLogger() = default;

  LogCollector logCollector;
};

/// `logger`, or the process-wide one where a stage was given none.
inline ILogger* loggerOrGlobal(ILogger* logger) {
  return logger != nullptr ? logger : LogGlobalLogger::getLogger();
}

}  // namespace qvs
