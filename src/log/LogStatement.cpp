// Handing a statement out as plain data.
#include "log/LogStatement.h"

#include <cstring>

namespace qvs {

void LogStatement::getLogStatementData(LogStatementData& data) const {
  data.level = level;
  data.contextType = contextType;
  data.contextIndex = contextIndex;
  data.statement = strdup(str.c_str());
}

}  // namespace qvs
