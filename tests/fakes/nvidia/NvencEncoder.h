#pragma once

#include <ffnvcodec/nvEncodeAPI.h>

#include <atomic>
#include <memory>
#include <set>
#include <vector>

#include "Driver.h"
#include "fakes/support/SoftwareEncoder.h"

namespace qvs::fakes {

/// What a picture is given in: memory of the encoder's own, or the card's.
struct NvencInput {
  uint32_t width, height, pitch;
  NV_ENC_BUFFER_FORMAT format;
  uint64_t pointer;  ///< of the card; 0: `bytes` holds it
  std::vector<uint8_t> bytes;
  int mapped = 0;

  static size_t size(uint32_t pitch, uint32_t height) {
    return size_t{pitch} * height + size_t{pitch} * ((height + 1) / 2);
  }
};

/// What a coded picture comes out in. Filled by the worker before `done` is reached.
struct NvencOutput {
  Stream::Point done;  ///< without a stream: nothing is on its way
  SoftwareCoded coded;
  uint64_t timestamp = 0, duration = 0;
  uint32_t number = 0;
  bool failed = false;
};

/// The emulated encoder. It answers as a card does that reorders pictures: "more input" for one that would become a B
/// picture, all that waits in one go with the next that refers to the past only. What is coded has no B pictures: libx264
/// and libx265 give them later than a card's answers promise.
class NvencEncoder {
 public:
  explicit NvencEncoder(CUcontext owner) : context(owner), queue(owner->legacy) {}
  ~NvencEncoder();
  NvencEncoder(const NvencEncoder&) = delete;
  NvencEncoder& operator=(const NvencEncoder&) = delete;

  bool isUsable() const;
  bool isInitialized() const { return settings.width != 0; }
  NVENCSTATUS initialize(const NV_ENC_INITIALIZE_PARAMS& wanted);
  NVENCSTATUS reconfigure(const NV_ENC_RECONFIGURE_PARAMS& wanted);
  NVENCSTATUS encode(const NV_ENC_PIC_PARAMS& picture);
  NVENCSTATUS lock(NV_ENC_LOCK_BITSTREAM& out);
  NVENCSTATUS setInputStream(CUstream stream);
  std::vector<uint8_t> headers();

  std::set<NvencInput*> inputs;
  std::set<NvencOutput*> outputs;

 private:
  struct Waiting {
    std::shared_ptr<std::vector<uint8_t>> nv12;
    NvencOutput* output;
    int64_t number;
    bool key;
  };
  bool setRate(const NV_ENC_RC_PARAMS& rate);
  void codeWaiting();
  static bool toNv12(const NvencInput& input, const uint8_t* from, std::vector<uint8_t>& to);

  CUcontext context;
  std::shared_ptr<Stream> queue;  ///< pictures are read in its order
  SoftwareSettings settings;
  std::shared_ptr<SoftwareEncoder> encoder;  ///< the worker's
  uint64_t reserved = 0;
  size_t group = 1;  ///< pictures that come out together
  uint32_t gop = 0, sinceKey = 0;
  bool forceKey = true;
  int64_t count = 0;
  std::vector<Waiting> waiting;
};

}  // namespace qvs::fakes
