// Opening a render node and libva's driver on it.
#include "VaDisplay.h"

#include <fcntl.h>
#include <unistd.h>
#include <va/va_drm.h>

#include <cerrno>
#include <cstring>

namespace qvs::vaapi {
namespace {

// What libva tells in passing would land on the process's standard error.
void unheard(void*, const char*) {}

}  // namespace

std::string VaDisplay::nodePath(int number) {
  return "/dev/dri/renderD" + std::to_string(128 + number);
}

bool VaDisplay::exists(int number) {
  return access(nodePath(number).c_str(), F_OK) == 0;
}

Outcome VaDisplay::open(int number) {
  close();
  const std::string path = nodePath(number);
  node = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (node < 0) return {QVS_PLUGIN_OPEN_CARD, "open " + path + ": " + std::strerror(errno)};
  display = vaGetDisplayDRM(node);
  if (display == nullptr) {
    close();
    return {QVS_PLUGIN_GET_DISPLAY_DRM, "vaGetDisplayDRM on " + path + " gave no display"};
  }
  vaSetInfoCallback(display, unheard, nullptr);
  vaSetErrorCallback(display, unheard, nullptr);
  Outcome result = outcomeOf(vaInitialize(display, &major, &minor), QVS_PLUGIN_INIT_DISPLAY, "vaInitialize");
  if (result.failed()) {
    result.words += " on " + path;
    close();
  }
  return result;
}

void VaDisplay::close() {
  // A display that wasn't initialized is freed by this as well.
  if (display != nullptr) vaTerminate(display);
  display = nullptr;
  if (node >= 0) ::close(node);
  node = -1;
}

}  // namespace qvs::vaapi
