// The process's collector for code without a session.
#include "log/LogGlobalLogger.h"

namespace qvs {

LogGlobalLogger* LogGlobalLogger::getInstance() {
  static LogGlobalLogger* const pInstance = new LogGlobalLogger;
  return pInstance;
}

}  // namespace qvs
