// Render nodes that aren't there, for programs started with this preloaded and for tests that link it: nodes
// /dev/dri/renderD128 and 129 (QVS_FAKE_NODES=N for N of them) open as /dev/null, and libdrm takes them for cards.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>
#include <xf86drm.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char kNodes[] = "/dev/dri/renderD";

bool isNode(const char* path) {
  return path != nullptr && std::strncmp(path, kNodes, sizeof kNodes - 1) == 0;
}

bool isThere(const char* path) {
  const char* count = std::getenv("QVS_FAKE_NODES");
  return std::atoi(path + sizeof kNodes - 1) - 128 < (count != nullptr ? std::atoi(count) : 2);
}

template <typename Function>
Function real(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

int openNode(const char* name, const char* path, int flags, mode_t mode) {
  if (isNode(path) && !isThere(path)) {
    errno = ENOENT;
    return -1;
  }
  return real<int (*)(const char*, int, ...)>(name)(isNode(path) ? "/dev/null" : path, flags, mode);
}

}  // namespace

#define QVS_SHIM extern "C" __attribute__((visibility("default")))

#define QVS_SHIM_OPEN(name)                             \
  QVS_SHIM int name(const char* path, int flags, ...) { \
    mode_t mode = 0;                                    \
    if ((flags & (O_CREAT | O_TMPFILE)) != 0) {         \
      va_list rest;                                     \
      va_start(rest, flags);                            \
      mode = va_arg(rest, mode_t);                      \
      va_end(rest);                                     \
    }                                                   \
    return openNode(#name, path, flags, mode);          \
  }
QVS_SHIM_OPEN(open)
QVS_SHIM_OPEN(open64)
#undef QVS_SHIM_OPEN

QVS_SHIM int __open_2(const char* path, int flags) {
  return openNode("open", path, flags, 0);
}
QVS_SHIM int __open64_2(const char* path, int flags) {
  return openNode("open64", path, flags, 0);
}

QVS_SHIM int access(const char* path, int mode) {
  if (!isNode(path)) return real<int (*)(const char*, int)>("access")(path, mode);
  if (isThere(path)) return 0;
  errno = ENOENT;
  return -1;
}

QVS_SHIM int drmGetNodeTypeFromFd(int) {
  return DRM_NODE_RENDER;
}

QVS_SHIM drmVersionPtr drmGetVersion(int) {
  auto* version = static_cast<drmVersionPtr>(std::calloc(1, sizeof(drmVersion)));
  version->version_major = 1;
  version->name = strdup("i915");
  version->name_len = 4;
  version->date = strdup("0");
  version->date_len = 1;
  version->desc = strdup("fake");
  version->desc_len = 4;
  return version;
}

QVS_SHIM void drmFreeVersion(drmVersionPtr version) {
  if (version == nullptr) return;
  std::free(version->name);
  std::free(version->date);
  std::free(version->desc);
  std::free(version);
}
