// The allocator that plug-ins get by default.
#include "plugin/PluginSession.h"

#include <cstdlib>

namespace qvs {

const PluginAllocator& nativePluginAllocator() {
  static constexpr PluginAllocator kNative{
      [](void*, uint32_t size) { return std::malloc(size); }, [](void*, void* array) { std::free(array); },
      [](void*, void* array) { return static_cast<uint8_t*>(array); }, [](void*, void*, uint8_t*) {}};
  return kNative;
}

}  // namespace qvs
