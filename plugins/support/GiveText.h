#pragma once

#include <qvs/plugin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace qvs::plugins {

/// Copies a text into a caller's buffer, cut to it, with a zero at the end; `needed` receives what all of it takes.
inline int32_t giveText(const std::string& text, char* buffer, uint32_t size, uint32_t* needed) {
  if (needed != nullptr) *needed = static_cast<uint32_t>(text.size() + 1);
  if (buffer == nullptr || size == 0) return QVS_PLUGIN_OK;
  const size_t length = std::min<size_t>(text.size(), size - 1);
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
  return QVS_PLUGIN_OK;
}

}  // namespace qvs::plugins
