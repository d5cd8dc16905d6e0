// H.265 behind a fake card, by libx265.
#include "SoftwareEncoder.h"

#include <x265.h>

#include <algorithm>
#include <mutex>

namespace qvs::fakes {
namespace {

/// A rate control of one line: libx265's own doesn't follow a change of its target while running.
class Quantizer {
 public:
  void setTarget(double bytesOfPicture) { target = bytesOfPicture; }
  int qp() const { return value; }
  void add(size_t bytes) {
    debt = std::clamp(debt + static_cast<double>(bytes) - target, -5 * target, 5 * target);
    const int step = (static_cast<double>(bytes) > target ? 1 : -1) + (debt > 0 ? 1 : -1);
    value = std::clamp(value + step, 10, 50);
  }

 private:
  double target = 0, debt = 0;
  int value = 28;
};

void setParams(x265_param& param, const SoftwareSettings& settings) {
  x265_param_default_preset(&param, "ultrafast", settings.bPictures == 0 ? "zerolatency" : nullptr);
  param.sourceWidth = static_cast<int>(settings.width);
  param.sourceHeight = static_cast<int>(settings.height);
  param.internalCsp = X265_CSP_I420;
  param.fpsNum = settings.fpsNumerator;
  param.fpsDenom = settings.fpsDenominator;
  param.keyframeMax = -1;
  param.scenecutThreshold = 0;
  param.bframes = static_cast<int>(settings.bPictures);
  param.bFrameAdaptive = 0;
  param.bBPyramid = 0;
  param.lookaheadDepth = settings.bPictures == 0 ? 0 : static_cast<int>(settings.bPictures) + 2;
  param.bOpenGOP = 0;
  param.bRepeatHeaders = 1;
  param.bAnnexB = 1;
  param.bEmitInfoSEI = 0;
  param.logLevel = X265_LOG_NONE;
  param.frameNumThreads = 1;
  param.maxNumReferences = 1;
  // No pool of threads: a test runs many of these.
  param.numaPools = "none";
  x265_param_parse(&param, "wpp", "0");
  param.rc.rateControlMode = X265_RC_CQP;
  param.rc.qp = static_cast<int>(settings.qp);
}

// The first encoder of a process fills tables that all share, which libx265 itself doesn't guard.
x265_encoder* openEncoder(x265_param* param) {
  static std::mutex opening;
  const std::lock_guard guard(opening);
  return x265_encoder_open(param);
}

class SoftwareH265 : public SoftwareEncoder {
 public:
  explicit SoftwareH265(const SoftwareSettings& wanted)
      : SoftwareEncoder(wanted.delay), settings(wanted), param(x265_param_alloc(), x265_param_free) {
    setParams(*param, settings);
    setBitRate(settings.bitRate, settings.maxBitRate);
    encoder = openEncoder(param.get());
    const size_t chroma = size_t{settings.width / 2} * (settings.height / 2);
    u.resize(chroma);
    v.resize(chroma);
  }
  ~SoftwareH265() override {
    if (encoder != nullptr) x265_encoder_close(encoder);
  }
  bool isOpen() const { return encoder != nullptr; }

  bool setBitRate(uint32_t bitsPerSecond, uint32_t) override {
    quantizer.setTarget(bitsPerSecond / 8.0 * settings.fpsDenominator / settings.fpsNumerator);
    return true;
  }

  std::vector<uint8_t> headers() override {
    x265_nal* units = nullptr;
    uint32_t count = 0;
    x265_encoder_headers(encoder, &units, &count);
    return joined(units, count);
  }

 protected:
  bool code(const SoftwarePicture* picture) override {
    if (picture != nullptr) return step(picture) >= 0;
    int given = 1;
    while (given > 0) given = step(nullptr);
    return given == 0;
  }

 private:
  static std::vector<uint8_t> joined(const x265_nal* units, uint32_t count) {
    std::vector<uint8_t> bytes;
    for (uint32_t i = 0; i < count; ++i) {
      bytes.insert(bytes.end(), units[i].payload, units[i].payload + units[i].sizeBytes);
    }
    return bytes;
  }

  void split(const SoftwarePicture& picture) {
    const uint32_t width = settings.width / 2;
    for (uint32_t row = 0; row < settings.height / 2; ++row) {
      const uint8_t* from = picture.uv + size_t{row} * picture.stride;
      for (uint32_t i = 0; i < width; ++i) {
        u[size_t{row} * width + i] = from[2 * i];
        v[size_t{row} * width + i] = from[2 * i + 1];
      }
    }
  }

  int step(const SoftwarePicture* picture) {
    x265_picture in, out;
    x265_picture_init(param.get(), &in);
    x265_picture_init(param.get(), &out);
    if (picture != nullptr) {
      split(*picture);
      in.planes[0] = const_cast<uint8_t*>(picture->y);
      in.planes[1] = u.data();
      in.planes[2] = v.data();
      in.stride[0] = static_cast<int>(picture->stride);
      in.stride[1] = in.stride[2] = static_cast<int>(settings.width / 2);
      in.pts = picture->pts;
      if (settings.rate != SoftwareRate::kConstantQp) in.forceqp = quantizer.qp() + 1;
      in.sliceType = picture->key ? X265_TYPE_IDR : X265_TYPE_AUTO;
    }
    x265_nal* units = nullptr;
    uint32_t count = 0;
    const int given = x265_encoder_encode(encoder, &units, &count, picture != nullptr ? &in : nullptr, &out);
    if (given <= 0) return given;
    SoftwareCoded coded;
    coded.bytes = joined(units, count);
    quantizer.add(coded.bytes.size());
    coded.pts = out.pts;
    coded.dts = out.dts;
    coded.type = out.sliceType == X265_TYPE_IDR  ? SoftwareCoded::Type::kKey
                 : IS_X265_TYPE_B(out.sliceType) ? SoftwareCoded::Type::kBidirectional
                                                 : SoftwareCoded::Type::kPredicted;
    ready.push_back(std::move(coded));
    return given;
  }

  SoftwareSettings settings;
  std::unique_ptr<x265_param, void (*)(x265_param*)> param;
  Quantizer quantizer;
  std::vector<uint8_t> u, v;
  x265_encoder* encoder = nullptr;
};

}  // namespace

std::unique_ptr<SoftwareEncoder> makeSoftwareH265(const SoftwareSettings& settings) {
  auto made = std::make_unique<SoftwareH265>(settings);
  if (!made->isOpen()) return nullptr;
  return made;
}

}  // namespace qvs::fakes
