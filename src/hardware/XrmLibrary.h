#pragma once

#include <xrm.h>

#include "platform/SharedLibrary.h"

// The manager's operations in use. Add a name here and it is a member of XrmLibrary.
#define QVS_XRM_FUNCTIONS(X) \
  X(xrmCreateContext)        \
  X(xrmDestroyContext)       \
  X(xrmExecPluginFunc) X(xrmCheckCuPoolAvailableNumV2) X(xrmCuPoolReserveV2) X(xrmCuPoolRelinquish)

namespace qvs {

/// "libxrm.so.1", opened when the first session is made; it stays.
class XrmLibrary {
 public:
  /// Null, and tried again next time, where it isn't installed or lacks an operation.
  static const XrmLibrary* get();

#define QVS_XRM_MEMBER(name) decltype(&::name) name = nullptr;
  QVS_XRM_FUNCTIONS(QVS_XRM_MEMBER)
#undef QVS_XRM_MEMBER

 private:
  bool open();

  SharedLibrary library;
};

}  // namespace qvs
