// The names of the media runtime's answers.
#include "MfxStatus.h"

namespace qvs::plugins {
namespace {

#define QVS_MFX_NAMES(X)              \
  X(MFX_ERR_UNKNOWN)                  \
  X(MFX_ERR_NULL_PTR)                 \
  X(MFX_ERR_UNSUPPORTED)              \
  X(MFX_ERR_MEMORY_ALLOC)             \
  X(MFX_ERR_NOT_ENOUGH_BUFFER)        \
  X(MFX_ERR_INVALID_HANDLE)           \
  X(MFX_ERR_LOCK_MEMORY)              \
  X(MFX_ERR_NOT_INITIALIZED)          \
  X(MFX_ERR_NOT_FOUND)                \
  X(MFX_ERR_MORE_DATA)                \
  X(MFX_ERR_MORE_SURFACE)             \
  X(MFX_ERR_ABORTED)                  \
  X(MFX_ERR_DEVICE_LOST)              \
  X(MFX_ERR_INCOMPATIBLE_VIDEO_PARAM) \
  X(MFX_ERR_INVALID_VIDEO_PARAM)      \
  X(MFX_ERR_UNDEFINED_BEHAVIOR)       \
  X(MFX_ERR_DEVICE_FAILED)            \
  X(MFX_ERR_MORE_BITSTREAM)           \
  X(MFX_ERR_GPU_HANG)                 \
  X(MFX_ERR_REALLOC_SURFACE)          \
  X(MFX_ERR_RESOURCE_MAPPED)          \
  X(MFX_ERR_NOT_IMPLEMENTED)          \
  X(MFX_WRN_IN_EXECUTION)             \
  X(MFX_WRN_DEVICE_BUSY)              \
  X(MFX_WRN_VIDEO_PARAM_CHANGED)      \
  X(MFX_WRN_PARTIAL_ACCELERATION)     \
  X(MFX_WRN_INCOMPATIBLE_VIDEO_PARAM) \
  X(MFX_WRN_VALUE_NOT_CHANGED)        \
  X(MFX_WRN_OUT_OF_RANGE)             \
  X(MFX_WRN_FILTER_SKIPPED)           \
  X(MFX_ERR_NONE_PARTIAL_OUTPUT)      \
  X(MFX_WRN_ALLOC_TIMEOUT_EXPIRED)

const char* nameOf(mfxStatus status) {
  switch (status) {
#define QVS_MFX_CASE(name) \
  case name:               \
    return #name;
    QVS_MFX_NAMES(QVS_MFX_CASE)
#undef QVS_MFX_CASE
    default:
      return "status";
  }
}

}  // namespace

std::string mfxProblem(const char* call, mfxStatus status, const std::string& more) {
  std::string text = std::string(call) + ": " + nameOf(status) + " (" + std::to_string(int{status}) + ")";
  return more.empty() ? text : text + " " + more;
}

bool isDeviceFault(mfxStatus status) {
  switch (status) {
    case MFX_ERR_MEMORY_ALLOC:
    case MFX_ERR_INVALID_HANDLE:
    case MFX_ERR_LOCK_MEMORY:
    case MFX_ERR_NOT_INITIALIZED:
    case MFX_ERR_ABORTED:
    case MFX_ERR_DEVICE_LOST:
    case MFX_ERR_DEVICE_FAILED:
    case MFX_ERR_GPU_HANG:
      return true;
    default:
      return false;
  }
}

}  // namespace qvs::plugins
