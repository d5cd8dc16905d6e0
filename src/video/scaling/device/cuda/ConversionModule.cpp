// Loading the module of conversions, and its constants.
#include "video/scaling/device/cuda/ConversionModule.h"

#include <cmath>
#include <mutex>

#include "video/scaling/device/cuda/cudaCtxLock.h"
#include "video/scaling/device/cuda/PtxText.h"

namespace qvs {
namespace {

constexpr uint32_t kOpaqueAlpha = 0xFF000000;
constexpr uint32_t kMatrix601 = 1;
constexpr uint32_t kMatrix709 = 2;

/// What luma weighs, and what the chromas weigh in red, green and blue.
struct MatrixRow {
  float luma, redV, greenU, greenV, blueU;
};

template <typename Value>
CUresult setConstant(CUmodule module, const char* name, const Value& value) {
  CUdeviceptr constant = 0;
  size_t bytes = 0;
  const CUresult code = cuModuleGetGlobal(&constant, &bytes, module, name);
  if (code != CUDA_SUCCESS) return code;
  if (bytes != sizeof(value)) return CUDA_ERROR_INVALID_VALUE;
  return cuMemcpyHtoD(constant, &value, sizeof(value));
}

}  // namespace

void setColorSpaceMatrix(uint32_t kind, ColorSpaceMatrix& matrix, float hue) {
  if (kind != kMatrix601 && kind != kMatrix709) return;
  const float s = std::sin(hue);
  const float c = std::cos(hue);
  const MatrixRow row = kind == kMatrix601 ? MatrixRow{1.1644f, 1.596f, 0.3918f, 0.813f, 2.0172f}
                                           : MatrixRow{1.0f, 1.5748f, 0.18732f, 0.46812f, 1.8556f};
  matrix = {row.luma,
            row.redV * s,
            row.redV * c,  // red
            row.luma,
            -row.greenU * c - row.greenV * s,
            row.greenU * s - row.greenV * c,  // green
            row.luma,
            row.blueU * c,
            -row.blueU * s};  // blue
}

std::shared_ptr<ConversionModule> ConversionModule::load(const std::shared_ptr<CUctx_st>& context,
                                                         Failure* failure) {
  std::shared_ptr<ConversionModule> made(new ConversionModule(context));
  *failure = {"cuModuleLoad[conversion_ptx]",
              cuModuleLoadData(&made->module, joinPtx(conversion_ptx).c_str())};
  for (size_t i = 0; i < kConversionKernelCount && failure->code == CUDA_SUCCESS; ++i) {
    const char* name = kConversionKernels[i];
    *failure = {std::string("cuModuleGetFunction[") + name + "]",
                cuModuleGetFunction(&made->kernels[i], made->module, name)};
  }
  if (failure->code == CUDA_SUCCESS) {
    ColorSpaceMatrix matrix{};
    setColorSpaceMatrix(kMatrix709, matrix, 0.0f);
    *failure = {"updateConstantMemory[conversion_ptx]", made->updateConstantMemory(matrix)};
  }
  return failure->code == CUDA_SUCCESS ? made : nullptr;
}

ConversionModule::~ConversionModule() {
  if (module == nullptr) return;
  cudaCtxLock current(context.get());
  const std::lock_guard hold(current);
  cuModuleUnload(module);
}

CUresult ConversionModule::updateConstantMemory(const ColorSpaceMatrix& matrix) const {
  const CUresult code = setConstant(module, "constHueColorSpaceMat", matrix);
  return code != CUDA_SUCCESS ? code : setConstant(module, "constAlpha", kOpaqueAlpha);
}

}  // namespace qvs
