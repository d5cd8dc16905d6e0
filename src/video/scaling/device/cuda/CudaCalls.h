#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "cuda.h"
#include "log/ILogger.h"
#include "nppi.h"

namespace qvs {

/// What a user of a device knows of its calls' results: failures are told, the first of a call and then each time its
/// count has doubled, and those that end a context are passed on to the manager of contexts. Any thread.
class CudaCalls {
 public:
  /// `owner` is "Class.method", a literal. `logger` is borrowed; null: the process-wide one.
  CudaCalls(const char* owner, LogContext logContext) : owner(owner), logContext(logContext) {}

  /// Whom the lines go to, and the context that results are of. Both borrowed.
  void attach(ILogger* value, CUcontext cudaContext) {
    logger = value;
    context = cudaContext;
  }
  void setLogger(ILogger* value) { logger = value; }

  /// Whether it worked; where not, `call` names it in the line.
  bool ok(CUresult code, const char* call) { return code == CUDA_SUCCESS || failed(code, call); }
  bool ok(NppStatus status, const char* call) { return status == NPP_SUCCESS || failed(status, call); }

 private:
  bool failed(CUresult code, const char* call);
  bool failed(NppStatus status, const char* call);
  void tell(int code, const char* call);

  const char* owner;
  LogContext logContext;
  ILogger* logger = nullptr;
  CUcontext context = nullptr;
  std::mutex lock;
  std::map<std::string, uint32_t> counts;  ///< by call; only of those that failed
};

}  // namespace qvs
