#pragma once

#include <vpl/mfx.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "fakes/support/SoftwareEncoder.h"
#include "fakes/vpl/Runtime.h"

namespace qvs::fakes {

/// The encoder of a session: system memory only, surfaces locked until their picture is out.
class VplEncoder {
 public:
  explicit VplEncoder(const mfxVideoParam& wanted);
  ~VplEncoder();
  VplEncoder(const VplEncoder&) = delete;

  bool isOpen() const { return software != nullptr; }
  mfxStatus reset(const mfxVideoParam& wanted);
  mfxStatus tell(mfxVideoParam& out);
  mfxStatus encode(const mfxEncodeCtrl* control, mfxFrameSurface1* surface, VplOperation& operation);
  uint32_t codedSize() const;

 private:
  struct Input {
    mfxU64 timestamp;
    mfxFrameSurface1* surface;
    uint64_t sum;
  };
  void open();
  void letGo();
  int64_t ticks(int64_t count) const;
  mfxStatus give(const mfxEncodeCtrl* control, mfxFrameSurface1* surface);

  mfxVideoParam parameters{};
  std::unique_ptr<SoftwareEncoder> software;
  std::vector<uint8_t> headers;
  std::deque<Input> inputs;  ///< from the picture `firstInput` on
  int64_t firstInput = 0;
  int64_t pictures = 0;
  mfxU64 firstTimestamp = 0;
  int64_t sinceKey = 0;
  bool drained = false;
  bool headersGiven = false;
};

/// The record with an id that hangs on a record; null where there is none.
template <typename Record>
Record* attachedRecord(const mfxVideoParam& parameters, mfxU32 id) {
  for (mfxU16 i = 0; i < parameters.NumExtParam; ++i) {
    mfxExtBuffer* one = parameters.ExtParam[i];
    if (one != nullptr && one->BufferId == id) return reinterpret_cast<Record*>(one);
  }
  return nullptr;
}

}  // namespace qvs::fakes
