// The off-line library: decoder, scaler and encoder of the media runtime in a row.
#include "BatchRoad.h"
#include "QuickSyncDecoder.h"
#include "QuickSyncEncoder.h"
#include "QuickSyncScaler.h"

namespace qvs::plugins {
namespace {

class QuickSyncRoad : public BatchRoad {
 public:
  explicit QuickSyncRoad(bool hevc) : coder(hevc ? kQuickSyncH265 : kQuickSyncH264) {}

  int32_t openDecoder(int32_t gpu) override {
    decoder.gpu = gpu;
    return decoder.open();
  }

  int32_t decode(std::span<const uint8_t> unit, uint64_t timecode, const Taker& taker,
                 bool& damaged) override {
    const bool ended = unit.empty();
    int32_t status = ended ? QVS_PLUGIN_OK : decoder.add(unit, timecode);
    while (status == QVS_PLUGIN_OK) {
      uint32_t flags = 0;
      status = decoder.decode(flags, ended);
      if (decoder.hasPicture()) {
        if (const int32_t taken = taker(decoder.picture.timecode); taken != QVS_PLUGIN_OK) return taken;
      } else if (!ended || (flags & QVS_DECODE_FLUSHED) != 0) {
        break;
      }
    }
    damaged = status == QVS_PLUGIN_PARSE_HEADER;
    return status;
  }

  StreamInfo stream() const override { return decoder.stream; }

  int32_t openScaler(uint32_t mode) override {
    fitMode = mode;
    return scaler.open(decoder.gpu);
  }

  int32_t pass(bool key, uint64_t timecode) override {
    mfxFrameSurface1* to = nullptr;
    if (const int32_t status = coder.takeSurface(to); status != QVS_PLUGIN_OK) return status;
    const Placement placement = place(decoder.stream, fitMode, to->Info.CropW, to->Info.CropH);
    const int32_t status = scaler.scale(decoder.surface(), *to, placement);
    return status == QVS_PLUGIN_OK ? coder.encodeSurface(*to, key, timecode) : status;
  }

  EncoderSession& encoder() override { return coder; }

 private:
  // What works on another's surfaces goes before it.
  QuickSyncDecoder decoder{kQuickSyncDecodeH264};
  QuickSyncEncoder coder;
  QuickSyncScaler scaler;
  uint32_t fitMode = 0;
};

std::unique_ptr<BatchRoad> make(bool hevc) {
  return std::make_unique<QuickSyncRoad>(hevc);
}

int64_t profileOf(uint32_t number) {
  return number;
}

}  // namespace

const BatchPlugin kBatchPlugin{probeMfx, make, 50012, profileOf};

}  // namespace qvs::plugins
