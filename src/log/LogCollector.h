#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "log/LogStatement.h"
#include "platform/IConcurrentLock.h"

namespace qvs {

/// Keeps log statements in memory until the host fetches them. A full collector drops what comes, silently.
class LogCollector final : public ILogger {
 public:
  static constexpr size_t kMaxStatements = 1000;

  LogCollector();
  ~LogCollector() override;
  LogCollector(const LogCollector&) = delete;
  LogCollector& operator=(const LogCollector&) = delete;

  void debug(const std::string& str) override { log(kLogContextNone, 0, kLogDebug, str); }
  void info(const std::string& str) override { log(kLogContextNone, 0, kLogInfo, str); }
  void warn(const std::string& str) override { log(kLogContextNone, 0, kLogWarn, str); }
  void error(const std::string& str) override { log(kLogContextNone, 0, kLogError, str); }
  void fatal(const std::string& str) override { log(kLogContextNone, 0, kLogFatal, str); }

  void debug(int type, int index, const std::string& str) override { log(type, index, kLogDebug, str); }
  void info(int type, int index, const std::string& str) override { log(type, index, kLogInfo, str); }
  void warn(int type, int index, const std::string& str) override { log(type, index, kLogWarn, str); }
  void error(int type, int index, const std::string& str) override { log(type, index, kLogError, str); }
  void fatal(int type, int index, const std::string& str) override { log(type, index, kLogFatal, str); }

  void log(int contextType, int contextIndex, int level, const std::string& str);

  /// Warnings and worse since the beginning, and failures that were not told again: by it a caller sees that
  /// what it called has told its trouble.
  uint32_t getTroubleCount() const { return troubleCount.load(std::memory_order_relaxed); }
  void countTrouble() { troubleCount.fetch_add(1, std::memory_order_relaxed); }

  /// Moves all statements out, behind what `statements` holds.
  void getLogStatements(std::vector<LogStatement>& statements);

 private:
  std::vector<LogStatement> items;
  std::unique_ptr<IConcurrentLock> lock;
  std::atomic<uint32_t> troubleCount{0};
  std::atomic<int> isActive{1};  ///< 0 once destruction begins: late calls of other threads return at once
};

}  // namespace qvs
