#pragma once

#include <vpl/mfx.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "fakes/support/OpenCounts.h"

namespace qvs::fakes {

class VplEncoder;
class VplDecoder;

/// What an operation does once its time has come: the work for its picture was done when it was given, but a client
/// sees it only here, as with a card.
struct VplOperation {
  std::chrono::steady_clock::time_point ready;
  bool never = false;
  mfxBitstream* bits = nullptr;  ///< receives `coded`
  std::vector<uint8_t> coded;
  mfxU64 timestamp = 0;
  mfxI64 decodeTimestamp = 0;
  mfxU16 frameType = 0;
  mfxFrameSurface1* surface = nullptr;  ///< let go of
  uint64_t sum = 0;                     ///< of the surface's luma when it was given; 0: not looked at
};

OpenCounts& vplCounts();

/// Carries out what the fault script has for a call; an answer where the call is to do nothing else.
std::optional<mfxStatus> vplFault(const char* call);

/// The same for calls that give a picture: the delay goes to its operation.
std::optional<mfxStatus> vplFault(const char* call, VplOperation& operation);

/// Sum over the luma that a client must leave alone while the runtime works on it.
uint64_t lumaSum(const mfxFrameSurface1& surface);

}  // namespace qvs::fakes

/// The session of the public headers.
struct _mfxSession {
  _mfxSession();
  ~_mfxSession();
  _mfxSession(const _mfxSession&) = delete;

  mfxHDL display() const { return handle == nullptr && parent != nullptr ? parent->handle : handle; }
  /// Counts the operation; its point goes to `point`.
  void start(qvs::fakes::VplOperation operation, mfxSyncPoint* point);
  mfxStatus wait(mfxSyncPoint point, mfxU32 milliseconds);

  mfxHDL handle = nullptr;
  mfxSession parent = nullptr;
  // Shared only because that needs to know nothing of them here.
  std::shared_ptr<qvs::fakes::VplEncoder> encoder;
  std::shared_ptr<qvs::fakes::VplDecoder> decoder;
  std::shared_ptr<mfxInfoVPP> scaler;  ///< as it was set up

 private:
  std::map<uintptr_t, qvs::fakes::VplOperation> operations;
  uintptr_t last = 0;
};

/// In front of a call's work.
#define QVS_VPL_CALL(name) \
  if (const auto answer = qvs::fakes::vplFault(#name)) return *answer

#define QVS_VPL_EXPORT extern "C" __attribute__((visibility("default")))
