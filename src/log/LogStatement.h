#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "log/ILogger.h"

namespace qvs {

/// A statement as plain data. The receiver frees `statement`.
struct LogStatementData {
  int32_t level;
  int32_t contextType;
  int32_t contextIndex;
  char* statement;  ///< malloc'ed, terminated; null when memory failed
};

/// One line of log, waiting for the host to fetch it.
class LogStatement {
 public:
  LogStatement() = default;
  LogStatement(int contextType, int contextIndex, int level, std::string str)
      : str(std::move(str)), level(level), contextType(contextType), contextIndex(contextIndex) {}

  /// Fills `data` with a copy.
  void getLogStatementData(LogStatementData& data) const;

  std::string str;
  int level = kLogInfo;
  int contextType = kLogContextNone;
  int contextIndex = 0;
};

}  // namespace qvs
