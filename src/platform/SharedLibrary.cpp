// Opening, searching and closing a run-time library.
#include "platform/SharedLibrary.h"

#include <dlfcn.h>

#include <utility>

namespace qvs {

const int SharedLibrary::kLazy = RTLD_LAZY | RTLD_LOCAL;
const int SharedLibrary::kLazyGlobal = RTLD_LAZY | RTLD_GLOBAL;

SharedLibrary::SharedLibrary(SharedLibrary&& other) noexcept
    : handle(std::exchange(other.handle, nullptr)), error(std::move(other.error)) {}

SharedLibrary& SharedLibrary::operator=(SharedLibrary&& other) noexcept {
  std::swap(handle, other.handle);
  std::swap(error, other.error);
  return *this;
}

bool SharedLibrary::open(const std::string& path, int flags) {
  close();
  handle = dlopen(path.c_str(), flags != 0 ? flags : RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* reason = dlerror();
    error = reason != nullptr ? reason : "unknown error";
  }
  return handle != nullptr;
}

void SharedLibrary::close() {
  if (handle != nullptr) dlclose(std::exchange(handle, nullptr));
}

void* SharedLibrary::find(const char* name) const {
  return handle != nullptr ? dlsym(handle, name) : nullptr;
}

}  // namespace qvs
