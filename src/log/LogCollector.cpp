// A bounded list of log statements under a lock.
#include "log/LogCollector.h"

#include "platform/ConcurrentLockFactory.h"
#include "platform/Guard.h"

namespace qvs {

LogCollector::LogCollector() : lock(ConcurrentLockFactory::newConcurrentLock()) {}

LogCollector::~LogCollector() {
  isActive = 0;
  const ScopedLock guard(*lock);
  items.clear();
}

void LogCollector::log(int contextType, int contextIndex, int level, const std::string& str) {
  if (isActive == 0) return;
  if (level >= kLogWarn) countTrouble();
  guarded("LogCollector::log", [&] {
    const ScopedLock guard(*lock);
    if (items.size() < kMaxStatements) items.emplace_back(contextType, contextIndex, level, str);
  });
}

void LogCollector::getLogStatements(std::vector<LogStatement>& statements) {
  if (isActive == 0) return;
  guarded("LogCollector::getLogStatements", [&] {
    const ScopedLock guard(*lock);
    // Copied, then cleared: a failed copy must leave every statement in place.
    const size_t before = statements.size();
    statements.reserve(before + items.size());
    statements.insert(statements.end(), items.begin(), items.end());
    items.clear();
  });
}

}  // namespace qvs
