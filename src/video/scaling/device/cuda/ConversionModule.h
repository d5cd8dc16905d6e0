#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "cuda.h"

namespace qvs {

/// Nine floats: rows that make red, green and blue of luma and the two chromas.
using ColorSpaceMatrix = std::array<float, 9>;

/// Kinds: 1 is BT.601 in video range, 2 is BT.709 in full range; another leaves the matrix as it is. `hue` turns colors,
/// in radians.
void setColorSpaceMatrix(uint32_t kind, ColorSpaceMatrix& matrix, float hue);

/// The kernels that a pool resolves, in their order.
inline constexpr const char* kConversionKernels[] = {
    "V210ToYUVA_drvapi", "V210ToNV12_drvapi",        "V210ToNV12Fast_drvapi", "R210ToYUVA_drvapi",
    "R210ToNV12_drvapi", "YUVAToNV12_drvapi",        "TransformYUVA_drvapi",  "YUVAToYV24_drvapi",
    "YV24ToYUVA_drvapi", "YUVAScaleByFactor_drvapi", "YUVAToRGBA_drvapi",     "NV12ToYUVA_drvapi"};
inline constexpr size_t kConversionKernelCount = std::size(kConversionKernels);

/// The module of conversions in one context, with its color matrix set. Ends with its last user, in its context.
class ConversionModule {
 public:
  /// What failed: the call, with the kernel or module in brackets, and its code.
  struct Failure {
    std::string call;
    CUresult code;
  };

  /// Loads it into the context, which has to be current. Empty where a call failed, which is left in `*failure`.
  static std::shared_ptr<ConversionModule> load(const std::shared_ptr<CUctx_st>& context, Failure* failure);

  ConversionModule(const ConversionModule&) = delete;
  ConversionModule& operator=(const ConversionModule&) = delete;
  ~ConversionModule();

  CUmodule get() const { return module; }
  CUfunction getKernel(size_t index) const { return kernels[index]; }

  /// Sets the matrix, and opaque alpha.
  CUresult updateConstantMemory(const ColorSpaceMatrix& matrix) const;

 private:
  explicit ConversionModule(std::shared_ptr<CUctx_st> context) : context(std::move(context)) {}

  std::shared_ptr<CUctx_st> context;
  CUmodule module = nullptr;
  std::array<CUfunction, kConversionKernelCount> kernels{};
};

}  // namespace qvs
