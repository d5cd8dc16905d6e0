// The process's one handle on Intel's display interface.
#include "hardware/IntelDRMSingleton.h"

namespace qvs {

IntelDRMSingleton* IntelDRMSingleton::getInstance() {
  static IntelDRMSingleton* const pInstance = new IntelDRMSingleton;
  return pInstance;
}

}  // namespace qvs
