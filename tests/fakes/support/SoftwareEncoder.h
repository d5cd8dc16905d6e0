#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace qvs::fakes {

enum class SoftwareCodec { kH264, kH265, kVp9 };
enum class SoftwareRate { kConstantQp, kConstantBitRate, kVariableBitRate };

struct SoftwareSettings {
  SoftwareCodec codec = SoftwareCodec::kH264;
  uint32_t width = 0;  ///< even, as what follows from it
  uint32_t height = 0;
  uint32_t fpsNumerator = 25;
  uint32_t fpsDenominator = 1;
  SoftwareRate rate = SoftwareRate::kVariableBitRate;
  uint32_t bitRate = 1000000;     ///< bits per second
  uint32_t maxBitRate = 1000000;  ///< of a variable rate
  uint32_t qp = 26;               ///< of a constant one; the codec's own scale
  uint32_t bPictures = 0;         ///< in a row; H.264 and H.265
  uint32_t delay = 0;             ///< coded pictures that are held back
  bool cabac = true;
  bool transform8x8 = true;
  int32_t chromaQpOffset = 0;
};

struct SoftwarePicture {
  const uint8_t* y;  ///< NV12
  const uint8_t* uv;
  uint32_t stride;  ///< bytes, of both planes
  int64_t pts;
  bool key;
};

struct SoftwareCoded {
  enum class Type { kKey, kPredicted, kBidirectional };
  std::vector<uint8_t> bytes;  ///< Annex B with parameter sets in front of each key picture, or a VP9 frame
  int64_t pts = 0;
  int64_t dts = 0;
  Type type = Type::kPredicted;
};

/// What stands behind the fake cards: a quick software encoder with one slice a picture, one reference and key pictures
/// only where asked for. With `encoder=off` in the fault script it is a constant small stream, for measuring the road.
class SoftwareEncoder {
 public:
  virtual ~SoftwareEncoder() = default;

  /// False where the codec refused. What is ready, oldest first, comes out of `take`.
  bool encode(const SoftwarePicture& picture) { return code(&picture); }
  /// No picture follows: all that is held back can be taken.
  bool drain();
  bool take(SoftwareCoded& out);

  virtual bool setBitRate(uint32_t bitsPerSecond, uint32_t maxBitsPerSecond) = 0;

  /// The parameter sets in Annex B; empty for VP9.
  virtual std::vector<uint8_t> headers() = 0;

 protected:
  explicit SoftwareEncoder(uint32_t delayed) : delay(delayed) {}
  /// A null picture: what the codec holds back goes to `ready`.
  virtual bool code(const SoftwarePicture* picture) = 0;

  std::deque<SoftwareCoded> ready;

 private:
  size_t delay;
};

/// Null where the codec refuses the settings.
std::unique_ptr<SoftwareEncoder> makeSoftwareEncoder(const SoftwareSettings& settings);

// One a codec.
std::unique_ptr<SoftwareEncoder> makeSoftwareH264(const SoftwareSettings& settings);
std::unique_ptr<SoftwareEncoder> makeSoftwareH265(const SoftwareSettings& settings);
std::unique_ptr<SoftwareEncoder> makeSoftwareVp9(const SoftwareSettings& settings);

}  // namespace qvs::fakes
