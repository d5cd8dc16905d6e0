// How hosts log what their plug-ins answer.
#include "plugin/PluginStatusLine.h"

#include <sstream>
#include <string>

#include "plugin/QuickSyncHostUtils.h"

namespace qvs {

namespace {

std::string textOf(const PluginStatusWords& words, int32_t status) {
  std::ostringstream text;
  if (words.numbered) {
    text << words.prefix << status;
  } else if (words.unknown == nullptr) {
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

void logPluginStatus(const PluginLogPlace& place, const PluginStatusWords& words, const PluginAnswer& answer,
                     int32_t level) {
  if (answer.status == 0 || (answer.status < 0 && words.unknown != nullptr && !words.numbered)) return;
  const std::string head = std::string(words.className) + "[{context}]: ";
  logAt(place, level, head + textOf(words, answer.status));
  if (!answer.words.empty()) logAt(place, level, head + answer.words);
}

}  // namespace qvs
