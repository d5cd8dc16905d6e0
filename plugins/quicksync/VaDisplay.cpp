// What both kinds of VA display do alike.
#include "VaDisplay.h"

#include <qvs/plugin.h>

namespace qvs::plugins {

int32_t VaDisplay::start(std::string& problem) {
  // The driver's chatter belongs on nobody's screen; what fails is told by name.
  vaSetInfoCallback(display, nullptr, nullptr);
  vaSetErrorCallback(display, nullptr, nullptr);
  int major = 0;
  int minor = 0;
  const VAStatus status = vaInitialize(display, &major, &minor);
  if (status == VA_STATUS_SUCCESS) return QVS_PLUGIN_OK;
  problem = std::string("vaInitialize: ") + vaErrorStr(status) + " (" + std::to_string(status) + ")";
  return QVS_PLUGIN_CREATE_LIBVA;
}

// A display that was never initialized is ended all the same: its memory is libva's.
void VaDisplay::stop() {
  if (display != nullptr) vaTerminate(display);
  display = nullptr;
}

}  // namespace qvs::plugins
