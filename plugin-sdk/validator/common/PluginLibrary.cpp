// Opens the library that is checked.
#include "common/PluginLibrary.h"

#include <dlfcn.h>

namespace qvs::validator {

void* openLibrary(const std::string& file, std::string& error) {
  void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) error = dlerror();
  return library;
}

void* findSymbol(void* library, const char* symbol) {
  return dlsym(library, symbol);
}

}  // namespace qvs::validator
