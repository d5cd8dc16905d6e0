// The process's one handle on Intel's OpenCL.
#include "hardware/IntelOpenCLSingleton.h"

namespace qvs {

IntelOpenCLSingleton* IntelOpenCLSingleton::getInstance(CaptureManager*) {
  static IntelOpenCLSingleton* const pInstance = new IntelOpenCLSingleton;
  return pInstance;
}

}  // namespace qvs
