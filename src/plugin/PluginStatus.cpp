// What the status numbers of codec plug-ins mean.
#include "plugin/PluginStatus.h"

#include <qvs/plugin.h>

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

}  // namespace qvs
