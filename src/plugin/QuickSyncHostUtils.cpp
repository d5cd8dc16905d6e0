// What a status of a QuickSync plug-in means, in words.
#include "plugin/QuickSyncHostUtils.h"

#include <qvs/plugin.h>

#include <iterator>

#include "plugin/PluginStatus.h"

namespace qvs {

namespace {

/// Names of the vendor's results from -1 downward.
constexpr const char* kVendorErrors[] = {
    "MFX_ERR_UNKNOWN",
    "MFX_ERR_NULL_PTR",
    "MFX_ERR_UNSUPPORTED",
    "MFX_ERR_MEMORY_ALLOC",
    "MFX_ERR_NOT_ENOUGH_BUFFER",
    "MFX_ERR_INVALID_HANDLE",
    "MFX_ERR_LOCK_MEMORY",
    "MFX_ERR_NOT_INITIALIZED",
    "MFX_ERR_NOT_FOUND",
    "MFX_ERR_MORE_DATA",
    "MFX_ERR_MORE_SURFACE",
    "MFX_ERR_ABORTED",
    "MFX_ERR_DEVICE_LOST",
    "MFX_ERR_INCOMPATIBLE_VIDEO_PARAM",
    "MFX_ERR_INVALID_VIDEO_PARAM",
    "MFX_ERR_UNDEFINED_BEHAVIOR",
    "MFX_ERR_DEVICE_FAILED",
    "MFX_ERR_MORE_BITSTREAM",
    "MFX_ERR_INCOMPATIBLE_AUDIO_PARAM",
    "MFX_ERR_INVALID_AUDIO_PARAM",
    "MFX_ERR_GPU_HANG",
    "MFX_ERR_REALLOC_SURFACE",
    "MFX_ERR_RESOURCE_MAPPED",
    "MFX_ERR_NOT_IMPLEMENTED",
};

const char* quickSyncText(int32_t status) {
  switch (status) {
#define QVS_STATUS_TEXT(code, name, text) \
  case code:                              \
    return text;
    QVS_PLUGIN_DECODER_STATUS_CODES(QVS_STATUS_TEXT)
#undef QVS_STATUS_TEXT
    default:
      return pluginStatusText(status);
  }
}

}  // namespace

void QuickSyncHostUtils::resultToString(int32_t status, std::ostringstream& out) {
  if (const char* text = quickSyncText(status)) {
    out << text;
    return;
  }
  out << "Unknown error: " << status;
  const int64_t index = -1 - int64_t{status};
  if (index >= 0 && index < std::ssize(kVendorErrors)) out << " [" << kVendorErrors[index] << "]";
}

}  // namespace qvs
