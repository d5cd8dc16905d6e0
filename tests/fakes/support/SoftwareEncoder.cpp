// The encoder behind a fake card: what is held back, the choice of a codec, and the one that codes nothing.
#include "SoftwareEncoder.h"

#include "FaultScript.h"

namespace qvs::fakes {
namespace {

class NoEncoder : public SoftwareEncoder {
 public:
  explicit NoEncoder(const SoftwareSettings& settings) : SoftwareEncoder(settings.delay) {}
  bool setBitRate(uint32_t, uint32_t) override { return true; }
  std::vector<uint8_t> headers() override { return {0, 0, 0, 1, 0x67, 1, 2, 3, 0, 0, 0, 1, 0x68, 1}; }

 protected:
  bool code(const SoftwarePicture* picture) override {
    if (picture == nullptr) return true;
    SoftwareCoded coded;
    coded.bytes = {0, 0, 0, 1, static_cast<uint8_t>(picture->key ? 0x65 : 0x41), 1, 2, 3, 4};
    coded.pts = coded.dts = picture->pts;
    coded.type = picture->key ? SoftwareCoded::Type::kKey : SoftwareCoded::Type::kPredicted;
    ready.push_back(std::move(coded));
    return true;
  }
};

}  // namespace

bool SoftwareEncoder::drain() {
  delay = 0;
  return code(nullptr);
}

bool SoftwareEncoder::take(SoftwareCoded& out) {
  if (ready.size() <= delay) return false;
  out = std::move(ready.front());
  ready.pop_front();
  return true;
}

std::unique_ptr<SoftwareEncoder> makeSoftwareEncoder(const SoftwareSettings& settings) {
  if (faultScript().is("encoder", "off")) return std::make_unique<NoEncoder>(settings);
  switch (settings.codec) {
    case SoftwareCodec::kH264:
      return makeSoftwareH264(settings);
    case SoftwareCodec::kH265:
      return makeSoftwareH265(settings);
    case SoftwareCodec::kVp9:
      return makeSoftwareVp9(settings);
  }
  return nullptr;
}

}  // namespace qvs::fakes
