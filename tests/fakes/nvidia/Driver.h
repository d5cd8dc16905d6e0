#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "cuda.h"
#include "DeviceMemory.h"
#include "EmulatedGpu.h"
#include "fakes/support/FaultScript.h"
#include "fakes/support/OpenCounts.h"
#include "StreamEngine.h"
#include "video/scaling/device/cuda/kernels/HostKernel.h"

#define QVS_EXPORT __attribute__((visibility("default")))
#define QVS_API extern "C" QVS_EXPORT CUresult

struct CUctx_st {
  int device = 0;
  int users = 1;  ///< of a primary one
  bool primary = false;
  std::atomic<CUresult> dead = CUDA_SUCCESS;  ///< what all calls answer from the first such fault on
  std::shared_ptr<qvs::fakes::Stream> legacy;
};

struct CUstream_st {
  CUcontext context;
  unsigned flags;
  std::shared_ptr<qvs::fakes::Stream> queue;
};

struct CUevent_st {
  CUcontext context;
  /// What was recorded last: where, and when it was reached.
  struct Record {
    qvs::fakes::Stream::Point point;
    std::chrono::steady_clock::time_point time;
  };
  std::shared_ptr<Record> record;
};

struct CUfunc_st;

struct CUmod_st {
  struct Constant {
    uint64_t pointer;
    qvs::HostConstant host;
  };
  CUcontext context;
  std::vector<std::string> entries;
  std::map<std::string, std::unique_ptr<CUfunc_st>, std::less<>> functions;
  std::map<std::string, Constant, std::less<>> constants;
};

struct CUfunc_st {
  CUmodule module;
  const qvs::HostKernel* host;
};

namespace qvs::fakes {

/// Result codes without a name in the product's header.
inline constexpr CUresult kAlreadyMapped = static_cast<CUresult>(208);
inline constexpr CUresult kNotPermitted = static_cast<CUresult>(800);

/// The emulated driver: what all three libraries share. One a process, in libcuda.so.1.
class Driver {
 public:
  static Driver& get();

  DeviceMemory memory;
  StreamEngine engine;

  // Counters beside those of what is open.
  std::atomic<uint64_t> hostToDevice = 0, deviceToHost = 0, deviceToDevice = 0;
  std::atomic<uint64_t> bytesHostToDevice = 0, bytesDeviceToHost = 0;
  std::atomic<uint64_t> launches = 0, synchronisations = 0, waits = 0, decoded = 0, coded = 0;
  std::atomic<bool> initialized = false;

  // What the script says beside the faults, and what is open.
  int64_t setting(const char* name, int64_t otherwise);
  bool is(const char* name, const char* word);
  void opened(const char* kind);
  void closed(const char* kind);
  void setScript(const char* text) { script.set(text); }
  Fault nextFault(const char* name);
  std::string faulty() { return script.faulty(); }
  int devices();
  int capability();  ///< as major * 10 + minor

  // Contexts. `current` is the calling thread's, null without.
  CUcontext current();
  CUresult push(CUcontext context);
  CUresult pop(CUcontext* context);
  CUresult setCurrent(CUcontext context);
  CUcontext createContext(int device, bool primary);
  CUresult destroyContext(CUcontext context);
  CUresult retainPrimary(CUcontext* context, int device);
  CUresult releasePrimary(int device);
  /// A fault that stays: of one context, or of all where it is null.
  void kill(CUcontext context, CUresult code);

  // Streams, by the rules of the stream without a handle: it waits for all others of its context, and they for it.
  CUresult queueOf(CUstream stream, std::shared_ptr<Stream>* queue);
  Stream::Point push(CUcontext context, const std::shared_ptr<Stream>& queue, std::function<void()> task,
                     std::vector<Stream::Point> after = {});
  /// All that the context has to do.
  void waitFor(CUcontext context);

  /// Makes, and ends with all that waits, memory of the current context; 0 where there is none left.
  uint64_t allocate(size_t bytes);
  CUresult free(uint64_t pointer);

  void pinned(const void* memory, size_t bytes);
  bool unpin(const void* memory);
  bool isPinned(const void* memory);

  void count(EmulatedGpuCounts& out);

  template <typename Handle>
  bool isLive(const std::set<Handle>& handles, Handle handle) {
    const std::lock_guard hold(lock);
    return handles.contains(handle);
  }

  std::mutex lock;  ///< of handles
  std::set<CUcontext> contexts;
  std::set<CUstream> streams;
  std::set<CUevent> events;
  std::set<CUmodule> modules;
  std::map<int, CUcontext> primaries;

 private:
  Driver();
  template <typename Handle, typename End>
  void endAllOf(CUcontext context, std::set<Handle>& handles, const char* kind, End end);
  std::vector<Stream::Point> orderOf(CUcontext context, const std::shared_ptr<Stream>& queue);

  FaultScript script;
  OpenCounts open{"nvidia"};
  std::mutex pinnedLock;
  std::map<const void*, size_t> pinnedBlocks;
};

/// The start of each call: faults first, then what the driver checks in all. `code` is what it answers so far; a call that
/// releases something does so all the same, as the driver's answers may come from earlier work.
class Call {
 public:
  enum class Needs { kNothing, kInit, kContext };
  explicit Call(const char* name, Needs needs = Needs::kContext);
  CUresult code = CUDA_SUCCESS;
  CUcontext context = nullptr;
};

}  // namespace qvs::fakes
