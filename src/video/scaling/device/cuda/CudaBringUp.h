#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "cuda.h"
#include "log/ILogger.h"

namespace qvs {

/// Steps from the driver to a device with a context and streams, in their order.
enum class CudaStep : uint8_t {
  kInit,
  kCount,
  kChoice,
  kDevice,
  kCapability,
  kAvailability,
  kContext,
  kStream,
  kSecondStream,
};
inline constexpr size_t kCudaSteps = static_cast<size_t>(CudaStep::kSecondStream) + 1;

/// What whoever starts a device says and answers where a step fails.
struct CudaUser {
  struct Failure {
    const char* text;  ///< the driver's code follows where there is one
    int32_t result;
  };
  LogContext context;
  std::array<Failure, kCudaSteps> failures;
};

extern const CudaUser kCudaUserFrames;   ///< pools of frames; no step kAvailability, one stream
extern const CudaUser kCudaUserNvcuvid;  ///< the decoder; two streams
extern const CudaUser kCudaUserNvenc;    ///< the encoder; one stream

/// The start of a device, the same for all but for their texts. A step that fails is told at warn level, and
/// the user's number for it is the result.
class CudaBringUp {
 public:
  /// Both borrowed. `logger` may be null: the process-wide one.
  CudaBringUp(const CudaUser& user, ILogger* logger) : user(user), logger(logger) {}

  /// Steps kInit to kCapability for the device with this number, from 0. 0 with `*device` set, or the number
  /// of the step that failed.
  uint32_t openDevice(int32_t ordinal, CUdevice* device) const;

  /// Step kContext: the process's context of the device. 0, or the step's number with `*context` empty.
  uint32_t openContext(CUdevice device, int32_t ordinal, std::shared_ptr<CUctx_st>* context) const;

  /// Step kStream or kSecondStream: a stream of that context's, which keeps the context alive.
  uint32_t openStream(const std::shared_ptr<CUctx_st>& context, std::shared_ptr<CUstream_st>* stream,
                      CudaStep step = CudaStep::kStream) const;

  /// Tells that a step failed and gives its number.
  uint32_t failed(CudaStep step) const;
  uint32_t failed(CudaStep step, CUresult code) const;

 private:
  uint32_t report(CudaStep step, const std::string& code) const;

  const CudaUser& user;
  ILogger* logger;
};

}  // namespace qvs
