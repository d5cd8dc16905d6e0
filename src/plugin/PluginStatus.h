#pragma once

#include <cstdint>
#include <string>

namespace qvs {

/// What a plug-in answered.
struct PluginAnswer {
  int32_t status = 0;
  std::string words;  ///< its own, on a failure, where it has some
};

/// The text of a status that all codec plug-ins share; null for any other number.
const char* pluginStatusText(int32_t status);

}  // namespace qvs
