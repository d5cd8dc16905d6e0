#pragma once

#include <functional>
#include <string>
#include <vector>

#include "qvs/video_scaler.h"

namespace qvs::validator {

/// One rule of the contract.
struct Check {
  const char* rule;  ///< completes "the plug-in ..."
  /// Empty when the rule is kept, else how it is broken. Only called with the entry points that it needs.
  std::function<std::string(const PluginVideoScaler&)> run;
};

/// Runs the check in a process of its own, so that a plug-in that crashes or hangs breaks only that rule.
/// Gives what the check gives, or how its process ended.
std::string runApart(const Check& check, const PluginVideoScaler& plugin);

std::vector<Check> sessionChecks();  ///< need create and destroy
std::vector<Check> halfChecks();     ///< and scaleByHalf
std::vector<Check> overlayChecks();  ///< and overlayFrame

/// A session for the length of a check.
class Session {
 public:
  explicit Session(const PluginVideoScaler& plugin) : plugin(plugin) {
    if (plugin.func_create(&handle) != 0) handle = nullptr;
  }
  ~Session() { plugin.func_destroy(handle); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  operator void*() const { return handle; }

 private:
  const PluginVideoScaler& plugin;
  void* handle = nullptr;
};

}  // namespace qvs::validator
