// Puts the fake's administration tool where the real one would be: for programs started with this preloaded, and for tests
// that link it. QVS_FAKE_XRMADM is its path; without it there is no tool.
#include <dlfcn.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr const char* kTool = "/opt/xilinx/xrm/bin/xrmadm";

template <typename Function>
Function real(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int access(const char* path, int mode) noexcept {
  const char* const fake = std::getenv("QVS_FAKE_XRMADM");
  const bool asked = path != nullptr && std::strcmp(path, kTool) == 0;
  if (asked && fake == nullptr) {
    errno = ENOENT;
    return -1;
  }
  return real<int (*)(const char*, int)>("access")(asked ? fake : path, mode);
}

extern "C" __attribute__((visibility("default"))) int posix_spawnp(pid_t* child, const char* file,
                                                                   const posix_spawn_file_actions_t* actions,
                                                                   const posix_spawnattr_t* attributes,
                                                                   char* const arguments[],
                                                                   char* const environment[]) {
  std::vector<char*> words;
  for (size_t i = 0; arguments[i] != nullptr; ++i) {
    words.push_back(std::strcmp(arguments[i], kTool) == 0 ? std::getenv("QVS_FAKE_XRMADM") : arguments[i]);
  }
  words.push_back(nullptr);
  return real<decltype(&posix_spawnp)>("posix_spawnp")(child, file, actions, attributes, words.data(),
                                                       environment);
}
