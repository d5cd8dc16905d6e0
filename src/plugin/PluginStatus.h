#pragma once

#include <cstdint>

namespace qvs {

/// The text of a status that all codec plug-ins share; null for any other number.
const char* pluginStatusText(int32_t status);

}  // namespace qvs
