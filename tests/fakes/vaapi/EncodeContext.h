#pragma once

#include <va/va.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "fakes/support/SoftwareEncoder.h"
#include "fakes/vaapi/H264Rewriter.h"
#include "fakes/vaapi/Objects.h"

namespace qvs::fakes {

/// A context that encodes: gathers what is rendered for a picture and has it coded in software when the picture ends.
class EncodeContext {
 public:
  static constexpr const char* kKind = "context";

  EncodeContext(const FakeConfig& given, uint32_t contextWidth, uint32_t contextHeight)
      : config(given), width(contextWidth), height(contextHeight) {}

  void begin(VASurfaceID surface);
  VAStatus render(const FakeBuffer& buffer);
  /// Codes the picture in `surface`; the bytes go to `coded`.
  VAStatus encode(FakeSurface& surface, FakeBuffer& coded);

  VASurfaceID surface() const { return current; }
  VABufferID codedBuffer() const { return codedId; }

 private:
  VAStatus renderSequence(const FakeBuffer& buffer);
  VAStatus renderPicture(const FakeBuffer& buffer);
  VAStatus renderMisc(const FakeBuffer& buffer);
  void renderPacked(const FakeBuffer& buffer);
  bool makeEncoder(const FakeSurface& surface);
  std::vector<uint8_t> withGivenHeaders(std::span<const uint8_t> own);

  FakeConfig config;
  uint32_t width;
  uint32_t height;
  VASurfaceID current = VA_INVALID_SURFACE;
  VABufferID codedId = VA_INVALID_ID;
  bool key = false;
  uint32_t qp = 26;
  uint32_t bitsPerSecond = 0;
  uint32_t percentage = 100;
  uint32_t rateNumerator = 25;
  uint32_t rateDenominator = 1;
  bool rateChanged = false;

  VAEncSequenceParameterBufferH264 sequence{};
  VAEncPictureParameterBufferH264 picture{};
  VAEncSliceParameterBufferH264 slice{};
  uint32_t packedType = 0;
  std::vector<uint8_t> packedSets, packedRaw, packedSlice;
  std::unique_ptr<SoftwareEncoder> encoder;
  H264Rewriter rewriter;
  int64_t count = 0;
};

}  // namespace qvs::fakes
