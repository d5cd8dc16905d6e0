// A VA display on a render node of the kernel.
#include <fcntl.h>
#include <qvs/plugin.h>
#include <unistd.h>
#include <va/va_drm.h>

#include <cerrno>
#include <cstring>

#include "VaDisplay.h"

namespace qvs::plugins {
namespace {

constexpr int kFirstNode = 128;
constexpr int kNodes = 16;  ///< more GPUs than a machine has

}  // namespace

int32_t VaDisplay::open(int32_t gpu, std::string& problem) {
  close();
  const int first = gpu < 0 ? 0 : gpu;
  const int last = gpu < 0 ? kNodes - 1 : gpu;
  // Told of all nodes: the first that is there and fails, else the first that can't be opened.
  std::string missing, failed;
  for (int i = first; i <= last; ++i) {
    const std::string path = "/dev/dri/renderD" + std::to_string(kFirstNode + i);
    node = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (node < 0) {
      if (missing.empty()) missing = "open " + path + ": " + std::strerror(errno);
      continue;
    }
    display = vaGetDisplayDRM(node);
    std::string why = "vaGetDisplayDRM: no display";
    if (display != nullptr && start(why) == QVS_PLUGIN_OK) return QVS_PLUGIN_OK;
    if (failed.empty()) failed = why + " (" + path + ")";
    close();
  }
  problem = failed.empty() ? missing : failed;
  return QVS_PLUGIN_CREATE_LIBVA;
}

void VaDisplay::close() {
  stop();
  if (node >= 0) ::close(node);
  node = -1;
}

}  // namespace qvs::plugins
