// A VA display on an X server.
#include <qvs/plugin.h>
#include <va/va_x11.h>

#include "VaDisplay.h"

namespace qvs::plugins {

int32_t VaDisplay::open(int32_t, std::string& problem) {
  close();
  Display* connection = XOpenDisplay(nullptr);
  if (connection == nullptr) {
    problem = "XOpenDisplay: no X server answers (DISPLAY)";
    return QVS_PLUGIN_CREATE_LIBVA;
  }
  server = connection;
  display = vaGetDisplay(connection);
  problem = "vaGetDisplay: no display";
  const int32_t status = display != nullptr ? start(problem) : QVS_PLUGIN_CREATE_LIBVA;
  if (status != QVS_PLUGIN_OK) close();
  return status;
}

void VaDisplay::close() {
  stop();
  if (server != nullptr) XCloseDisplay(static_cast<Display*>(server));
  server = nullptr;
}

}  // namespace qvs::plugins
