// Opening the library of the cards' resource manager.
#include "hardware/XrmLibrary.h"

#include <mutex>

namespace qvs {

const XrmLibrary* XrmLibrary::get() {
  static std::mutex lock;
  // Leaked: sessions of other threads may use it when the process ends.
  static XrmLibrary* opened = nullptr;
  const std::lock_guard guard(lock);
  if (opened == nullptr) {
    auto* candidate = new XrmLibrary;
    if (candidate->open()) {
      opened = candidate;
    } else {
      delete candidate;
    }
  }
  return opened;
}

bool XrmLibrary::open() {
  if (!library.open("libxrm.so.1")) return false;
  bool complete = true;
#define QVS_XRM_FIND(name)                         \
  name = library.symbol<decltype(&::name)>(#name); \
  complete = complete && name != nullptr;
  QVS_XRM_FUNCTIONS(QVS_XRM_FIND)
#undef QVS_XRM_FIND
  return complete;
}

}  // namespace qvs
