// What the status numbers of codec plug-ins mean, how they are logged, and the allocator that plug-ins get by default.
#include "plugin/PluginStatus.h"

#include <qvs/plugin.h>

#include <cstdlib>
#include <sstream>

#include "plugin/PluginSession.h"
#include "plugin/QuickSyncHostUtils.h"

namespace qvs {

namespace {

std::string textOf(const PluginStatusWords& words, int32_t status) {
  std::ostringstream text;
  if (words.unknown == nullptr) {
    text << words.prefix;
    QuickSyncHostUtils::resultToString(status, text);
  } else if (const char* known = pluginStatusText(status)) {
    text << words.prefix << known;
  } else {
    text << words.unknown;
  }
  return text.str();
}

void logAt(const PluginLogPlace& place, int32_t level, const std::string& line) {
  if (level == kPluginLevelDebug) {
    place.logger->debug(place.context, place.index, line);
  } else if (level == kPluginLevelError) {
    place.logger->error(place.context, place.index, line);
  } else {
    place.logger->warn(place.context, place.index, line);
  }
}

}  // namespace

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

void logPluginStatus(const PluginLogPlace& place, const PluginStatusWords& words, const PluginAnswer& answer,
                     int32_t level) {
  if (answer.status == 0 || (answer.status < 0 && words.unknown != nullptr)) return;
  const std::string head = std::string(words.className) + "[{context}]: ";
  logAt(place, level, head + textOf(words, answer.status));
  if (!answer.words.empty()) logAt(place, level, head + answer.words);
}

const PluginAllocator& nativePluginAllocator() {
  static constexpr PluginAllocator kNative{
      [](void*, uint32_t size) { return std::malloc(size); }, [](void*, void* array) { std::free(array); },
      [](void*, void* array) { return static_cast<uint8_t*>(array); }, [](void*, void*, uint8_t*) {}};
  return kNative;
}

}  // namespace qvs
