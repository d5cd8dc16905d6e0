#pragma once

#include <cstdint>

#include "log/ILogger.h"
#include "plugin/PluginStatus.h"

namespace qvs {

/// How a host words the status lines of its plug-in.
struct PluginStatusWords {
  const char* className;
  const char* prefix;   ///< in front of the text
  const char* unknown;  ///< the whole text for a number without one; null: a QuickSync host, whose texts are
                        ///< those of QuickSyncHostUtils and which tells negative numbers too
  bool numbered = false;  ///< the text is the number, whatever it means; negative ones too
};

/// Where lines of a host go.
struct PluginLogPlace {
  ILogger* logger;
  LogContext context;
  int index;
};

/// Levels of a status line; every other number warns.
inline constexpr int32_t kPluginLevelDebug = 1;
inline constexpr int32_t kPluginLevelWarn = 2;
inline constexpr int32_t kPluginLevelError = 3;

/// A line for a failure, and a second one with the plug-in's own words. Nothing for a success.
void logPluginStatus(const PluginLogPlace& place, const PluginStatusWords& words, const PluginAnswer& answer,
                     int32_t level);

}  // namespace qvs
