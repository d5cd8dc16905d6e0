// What the status numbers of codec plug-ins mean, and the allocator that plug-ins get by default.
#include "plugin/PluginStatus.h"

#include <qvs/plugin.h>

#include <cstdlib>

#include "plugin/PluginSession.h"

namespace qvs {

const char* pluginStatusText(int32_t status) {
  switch (status) {
#define QVS_STATUS_TEXT(code, name, text) \
  case code:                              \
    return text;
    QVS_PLUGIN_STATUS_CODES(QVS_STATUS_TEXT)
#undef QVS_STATUS_TEXT
    default:
      return nullptr;
  }
}

const PluginAllocator& nativePluginAllocator() {
  static constexpr PluginAllocator kNative{
      [](void*, uint32_t size) { return std::malloc(size); }, [](void*, void* array) { std::free(array); },
      [](void*, void* array) { return static_cast<uint8_t*>(array); }, [](void*, void*, uint8_t*) {}};
  return kNative;
}

}  // namespace qvs
