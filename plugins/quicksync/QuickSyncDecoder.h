#pragma once

#include <vpl/mfx.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "DecoderSession.h"
#include "KeyTable.h"
#include "MfxSession.h"
#include "NV12Surfaces.h"
#include "UnitInput.h"

namespace qvs::plugins {

/// What tells one decoder library from another.
struct QuickSyncDecoderCodec {
  const char* name;  ///< "H.264"
  mfxU32 id;         ///< MFX_CODEC_
  bool lengthPrefixed;
};
extern const QuickSyncDecoderCodec kQuickSyncDecodeH264;
extern const QuickSyncDecoderCodec kQuickSyncDecodeMP2;

/// What the keys of a decoder set.
struct QuickSyncDecoderSettings : MfxPatience {
  int64_t asyncDepth = 1;
};
std::span<const KeyRow<QuickSyncDecoderSettings>> quickSyncDecoderKeys();

/// H.264 and MPEG-2 through the vendor's media runtime, into surfaces in system memory.
class QuickSyncDecoder : public DecoderSession {
 public:
  explicit QuickSyncDecoder(const QuickSyncDecoderCodec& row);
  ~QuickSyncDecoder() override { close(); }

  int32_t open() override;
  void close() override;
  int32_t configure(std::span<const uint8_t> record) override;
  int32_t add(std::span<const uint8_t> unit, uint64_t timecode) override;
  int32_t decode(uint32_t& flags, bool flush) override;
  bool isDone() const override { return input.empty() && !resizing; }
  bool hasPicture() const override { return current != nullptr; }
  int32_t copyPicture(const PictureTarget& target) override;
  void showPicture(PluginVideoBuffer& view) override;
  /// The picture that is ready, as the runtime has it.
  mfxFrameSurface1& surface() { return *current; }
  int32_t keyType(uint32_t key) const override { return keys.type(key); }
  int32_t setKey(uint32_t key, int64_t value) override { return keys.set(key, value, problem); }
  int32_t setKey(uint32_t key, double value) override { return keys.set(key, value, problem); }
  int32_t getKey(uint32_t key, int64_t* value) const override { return keys.get(key, value); }
  int32_t getKey(uint32_t key, double* value) const override { return keys.get(key, value); }

 private:
  /// A picture on its way.
  struct Task {
    mfxFrameSurface1* surface = nullptr;
    mfxSyncPoint sync = nullptr;
  };
  enum class Step { kPicture, kMoreInput, kNewSize, kFailed };

  /// A failure after which nothing more is tried until the decoder is opened anew.
  int32_t fault(std::string why);
  /// A damaged unit: it is given up, the decoder goes on.
  int32_t giveUp(std::string why);
  /// Reads the header at the front of the input and sets the runtime up for it. `ready` false: no header yet.
  int32_t start(uint32_t& flags, bool& ready);
  int32_t setUp();
  void stop();
  int32_t resumeAfterFlush();
  int32_t run(uint32_t& flags, bool flush);
  /// One exchange with the runtime; `flushing`: no more input for it.
  Step submit(bool flushing, int32_t& status);
  int32_t deliver(uint32_t& flags);
  int32_t noteStream(const mfxFrameInfo& info, uint32_t& flags);
  void releaseCurrent();

  const QuickSyncDecoderCodec& codec;
  QuickSyncDecoderSettings settings;
  KeyTable<QuickSyncDecoderSettings> keys;
  MfxSession session;
  NV12Surfaces surfaces;
  UnitInput input;
  mfxVideoParam parameters{};
  std::vector<Task> tasks;  ///< a ring
  size_t oldest = 0;
  size_t underWay = 0;
  mfxFrameSurface1* current = nullptr;  ///< the picture that is ready
  uint64_t firstTimecode = 0;
  bool hasFirst = false;
  bool running = false;
  bool resizing = false;  ///< the pictures before a new size are being handed out
  bool flushed = false;   ///< the runtime was told that nothing follows
  std::string lost;       ///< why the device is of no more use; empty while it is
};

}  // namespace qvs::plugins
