// Opening a plug-in for a look at it.
#include "PluginLibrary.h"

#include <dlfcn.h>

namespace qvs::probe {

PluginLibrary::PluginLibrary(const std::string& path, std::string& trouble)
    : handle(dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL)) {
  if (handle != nullptr) return;
  const char* said = dlerror();
  trouble = said != nullptr ? said : "can't be opened";
}

PluginLibrary::~PluginLibrary() {
  if (handle != nullptr) dlclose(handle);
}

void* PluginLibrary::find(void* library, const char* symbol) {
  return dlsym(library, symbol);
}

}  // namespace qvs::probe
