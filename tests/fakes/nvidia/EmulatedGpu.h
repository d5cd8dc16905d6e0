#pragma once

// What tests ask of the emulated driver, beside the vendor's functions.

#include <dlfcn.h>

#include <cstdint>
#include <stdexcept>

namespace qvs::fakes {

/// What is open now, and what was done since the start of the process.
struct EmulatedGpuCounts {
  int64_t contexts, streams, events, modules;
  int64_t blocks, bytes, pinned;  ///< device memory, and page-locked pieces of host memory
  int64_t parsers, decoders, mapped, encoders;
  uint64_t hostToDevice, deviceToHost, deviceToDevice;  ///< copies
  uint64_t bytesHostToDevice, bytesDeviceToHost;
  uint64_t launches;
  uint64_t synchronisations;  ///< asked for by name
  uint64_t waits;             ///< inside calls that wait although their name doesn't say so
  uint64_t decoded, coded;    ///< pictures
  uint64_t overruns;          ///< blocks that were written past their end
  uint64_t calls;
};

/// The emulated driver of this process, found as the product finds it.
class EmulatedGpu {
 public:
  EmulatedGpu() : library(dlopen("libcuda.so.1", RTLD_NOW)) {
    if (library == nullptr) throw std::runtime_error(dlerror());
    readCounts = reinterpret_cast<decltype(readCounts)>(dlsym(library, "qvsEmulatedGpuCounts"));
    setScript = reinterpret_cast<decltype(setScript)>(dlsym(library, "qvsEmulatedGpuFaults"));
    readFaulty = reinterpret_cast<decltype(readFaulty)>(dlsym(library, "qvsEmulatedGpuFaulty"));
    if (readCounts == nullptr) throw std::runtime_error("libcuda.so.1 is not the emulated one");
  }
  EmulatedGpu(const EmulatedGpu&) = delete;
  EmulatedGpu& operator=(const EmulatedGpu&) = delete;
  ~EmulatedGpu() { dlclose(library); }

  /// After all that is queued has run.
  EmulatedGpuCounts counts() const {
    EmulatedGpuCounts all{};
    readCounts(&all);
    return all;
  }

  /// A new script in the place of the one of QVS_FAKE_FAULTS; counts of calls start again. Empty: none.
  void faults(const char* script) const { setScript(script); }

  /// The call that had the last fault, empty where none had.
  const char* faulty() const { return readFaulty(); }

 private:
  void* library;
  void (*readCounts)(EmulatedGpuCounts*) = nullptr;
  void (*setScript)(const char*) = nullptr;
  const char* (*readFaulty)() = nullptr;
};

}  // namespace qvs::fakes
