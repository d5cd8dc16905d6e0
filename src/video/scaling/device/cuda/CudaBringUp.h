#pragma once

#include <array>
#include <cstdint>

#include "cuda.h"
#include "log/ILogger.h"

namespace qvs {

/// Steps from the driver to a device with a context, in their order.
enum class CudaStep : uint8_t { kInit, kCount, kChoice, kDevice, kCapability, kAvailability, kContext };
inline constexpr size_t kCudaSteps = static_cast<size_t>(CudaStep::kContext) + 1;

/// What whoever starts a device says and answers where a step fails.
struct CudaUser {
  struct Failure {
    const char* text;  ///< the driver's code follows where there is one
    int32_t result;
  };
  LogContext context;
  std::array<Failure, kCudaSteps> failures;
};

extern const CudaUser kCudaUserFrames;   ///< pools of frames; they have no step kAvailability
extern const CudaUser kCudaUserNvcuvid;  ///< the decoder
extern const CudaUser kCudaUserNvenc;    ///< the encoder

/// The start of a device, the same for all but for their texts. A step that fails is told at warn level, and
/// the user's number for it is the result.
class CudaBringUp {
 public:
  /// Both borrowed. `logger` may be null: the process-wide one.
  CudaBringUp(const CudaUser& user, ILogger* logger) : user(user), logger(logger) {}

  /// Steps kInit to kCapability for the device with this number, from 0. 0 with `*device` set, or the number
  /// of the step that failed.
  uint32_t openDevice(int32_t ordinal, CUdevice* device) const;

  /// Tells that a step failed and gives its number.
  uint32_t failed(CudaStep step) const;
  uint32_t failed(CudaStep step, CUresult code) const;

 private:
  uint32_t report(CudaStep step, const std::string& code) const;

  const CudaUser& user;
  ILogger* logger;
};

}  // namespace qvs
