#pragma once

#include <string>

namespace qvs {

/// Context types of log lines: which stage a line belongs to.
enum LogContext : int {
  kLogContextNone = 0,
  kLogContextVideoDecoder = 1,
  kLogContextVideoEncoder = 2,  ///< index: the encoder's
  kLogContextAudioDecoder = 3,
  kLogContextAudioEncoder = 4,  ///< index: the encoder's
  kLogContextOffline = 6,
  kLogContextVideoScaler = 8,
  kLogContextGlobal = -1,
};

/// Levels as stored in a statement.
enum LogLevel : int { kLogDebug = 1, kLogInfo = 2, kLogWarn = 3, kLogError = 4, kLogFatal = 5 };

/// Where all code logs to. Callable from any thread.
class ILogger {
 public:
  virtual ~ILogger() = default;

  virtual void debug(const std::string& str) = 0;
  virtual void info(const std::string& str) = 0;
  virtual void warn(const std::string& str) = 0;
  virtual void error(const std::string& str) = 0;
  virtual void fatal(const std::string& str) = 0;

  virtual void debug(int contextType, int contextIndex, const std::string& str) = 0;
  virtual void info(int contextType, int contextIndex, const std::string& str) = 0;
  virtual void warn(int contextType, int contextIndex, const std::string& str) = 0;
  virtual void error(int contextType, int contextIndex, const std::string& str) = 0;
  virtual void fatal(int contextType, int contextIndex, const std::string& str) = 0;
};

}  // namespace qvs
