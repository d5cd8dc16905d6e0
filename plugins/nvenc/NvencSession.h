#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CudaScope.h"
#include "KeyedSession.h"
#include "NvencConfig.h"
#include "NvencDriver.h"
#include "PictureTimes.h"

namespace qvs::nvenc {

/// An encoder on a card. Pictures are copied into planar surfaces of its own, those of the card on the card; the
/// driver's orders of work run in the stream that was given. Surfaces and buffers are taken when it opens; pictures go
/// round through them. Once a call has failed the session takes no more pictures; opening again begins anew.
class NvencSession : public plugins::KeyedSession<NvencSettings> {
 public:
  NvencSession() : KeyedSession(kNvencKeys) {}
  ~NvencSession() override { close(); }

  /// Whether a card of this machine encodes: opens a session on the first that does. The numbers are the driver's
  /// interface.
  static int32_t version(std::string& text, uint32_t& major, uint32_t& minor);

  int32_t open() override;
  int32_t encode(const plugins::Picture& picture) override;
  int32_t drain() override;
  int32_t changeBitRate(uint32_t bitsPerSecond) override;
  int32_t setCudaContext(const PluginVideoCUDAContext& context) override;

 private:
  /// What a picture holds on its way through the card.
  struct Slot {
    CUdeviceptr surface = 0;
    void* registered = nullptr;
    void* mapped = nullptr;
    void* coded = nullptr;
  };

  int32_t checkCuda(CUresult code, int32_t status, const char* call);
  int32_t checkNvenc(NVENCSTATUS code, int32_t status, const char* call);

  int32_t enterCard(int card);
  int32_t openSession();
  bool has(const GUID& codec);
  int32_t readCaps(NvencCaps& caps);
  int32_t chooseFormat();
  int32_t configure();
  int32_t createSlots();
  int32_t createSlot(Slot& slot);
  void close();
  void closeSlot(const Slot& slot);

  int32_t submit(const plugins::Picture& picture);
  int32_t copyIn(const plugins::Picture& picture, const Slot& slot);
  int32_t collect();
  int32_t finish(int32_t status);

  const NvencDriver* driver = nullptr;
  PluginVideoCUDAContext given{};  ///< without a context: a card's own
  CudaHome home;
  CUstream stream = nullptr;
  void* encoder = nullptr;
  bool hevc = false;
  NvencCaps caps;
  NvencSettings opened;  ///< the settings as they were
  NvencConfig setUp;
  NV_ENC_BUFFER_FORMAT format = NV_ENC_BUFFER_FORMAT_UNDEFINED;
  size_t pitch = 0;  ///< bytes, of a surface's luma
  std::vector<Slot> slots;
  plugins::PictureTimes times;
  uint64_t submitted = 0;
  uint64_t ready = 0;  ///< of these, coded or being coded without a need of more
  uint64_t collected = 0;
  std::string broken;  ///< the failure that ended it
};

}  // namespace qvs::nvenc
