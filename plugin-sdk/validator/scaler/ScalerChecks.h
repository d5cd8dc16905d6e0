#pragma once

#include <vector>

#include "common/Family.h"
#include "qvs/video_scaler.h"

namespace qvs::validator {

using ScalerRules = std::vector<Rule<PluginVideoScaler>>;

ScalerRules scalerSessionRules();  ///< need create and destroy
ScalerRules halfRules();           ///< and scaleByHalf
ScalerRules overlayRules();        ///< and overlayFrame

/// A session for the length of a check.
class ScalerSession {
 public:
  explicit ScalerSession(const PluginVideoScaler& plugin) : plugin(plugin) {
    if (plugin.func_create(&handle) != 0) handle = nullptr;
  }
  ~ScalerSession() { plugin.func_destroy(handle); }
  ScalerSession(const ScalerSession&) = delete;
  ScalerSession& operator=(const ScalerSession&) = delete;

  operator void*() const { return handle; }

 private:
  const PluginVideoScaler& plugin;
  void* handle = nullptr;
};

}  // namespace qvs::validator
