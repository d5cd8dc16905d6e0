// Kernels against plain references, at odd sizes: on whatever driver is found, the emulated one or a card's.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "video/scaling/device/cuda/ConversionModule.h"
#include "video/scaling/device/cuda/cudaCtxLock.h"
#include "video/scaling/device/cuda/npp/ImageKernels.h"
#include "video/scaling/device/cuda/NVidiaCUDAContextManager.h"
#include "video/scaling/device/cuda/VideoImageProcessorCUDA.h"

namespace qvs {
namespace {

using Bytes = std::vector<uint8_t>;

/// Bytes on the device, and what they were when they went there.
class DeviceBytes {
 public:
  explicit DeviceBytes(size_t size, uint32_t seed = 0) : host(size, 0xEE) {
    std::mt19937 random(seed);
    if (seed != 0) std::generate(host.begin(), host.end(), [&] { return static_cast<uint8_t>(random()); });
    EXPECT_EQ(cuMemAlloc(&pointer, size), CUDA_SUCCESS);
    EXPECT_EQ(cuMemcpyHtoD(pointer, host.data(), size), CUDA_SUCCESS);
  }
  DeviceBytes(const DeviceBytes&) = delete;
  ~DeviceBytes() { cuMemFree(pointer); }
  Bytes fetch() const {
    Bytes now(host.size());
    EXPECT_EQ(cuMemcpyDtoH(now.data(), pointer, now.size()), CUDA_SUCCESS);
    return now;
  }
  uint8_t* data() const { return reinterpret_cast<uint8_t*>(pointer); }
  uint8_t operator[](size_t index) const { return host[index]; }

  Bytes host;

 private:
  CUdeviceptr pointer = 0;
};

int clampByte(double value) {
  return static_cast<int>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
}

class Kernels : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(cuInit(0), CUDA_SUCCESS);
    context = NVidiaCUDAContextManager::getInstance()->acquireContext(0, 0);
    ASSERT_TRUE(context);
    lock = cudaCtxLock(context.get());
    lock.lock();
    ConversionModule::Failure failure;
    module = ConversionModule::load(context, &failure);
    ASSERT_TRUE(module) << failure.call << " " << failure.code;
    ASSERT_EQ(cuStreamCreate(&stream, 0), CUDA_SUCCESS);
    npp.hStream = stream;
  }
  void TearDown() override {
    cuStreamDestroy(stream);
    module = nullptr;
    lock.unlock();
  }

  template <typename... Arguments>
  void run(const char* name, int width, int height, Arguments... arguments) {
    CUfunction kernel = nullptr;
    ASSERT_EQ(cuModuleGetFunction(&kernel, module->get(), name), CUDA_SUCCESS);
    void* parameters[] = {&arguments...};
    ASSERT_EQ(
        cuLaunchKernel(kernel, static_cast<unsigned>(width + 15) / 16, static_cast<unsigned>(height + 7) / 8,
                       1, 16, 8, 1, 0, stream, parameters, nullptr),
        CUDA_SUCCESS);
    ASSERT_EQ(cuStreamSynchronize(stream), CUDA_SUCCESS);
  }

  /// Each byte of the result is `expected` of its index, or what it was before where that is negative.
  void compare(const DeviceBytes& result, double tolerance, const std::function<double(size_t)>& expected) {
    const Bytes is = result.fetch();
    for (size_t i = 0; i < is.size(); ++i) {
      const double wanted = expected(i);
      ASSERT_NEAR(is[i], wanted < 0 ? result[i] : wanted, wanted < 0 ? 0 : tolerance) << "byte " << i;
    }
  }

  std::shared_ptr<CUctx_st> context;
  cudaCtxLock lock;
  std::shared_ptr<ConversionModule> module;
  CUstream stream = nullptr;
  NppStreamContext npp{};
};

/// Catmull-Rom's weight, as it is defined.
double cubicWeight(double x) {
  x = std::fabs(x);
  if (x <= 1) return 1.5 * x * x * x - 2.5 * x * x + 1;
  return x < 2 ? -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2 : 0;
}

double cubic(const std::function<double(int, int)>& sample, int width, int height, double x, double y) {
  const int left = static_cast<int>(std::floor(x)), top = static_cast<int>(std::floor(y));
  double sum = 0;
  for (int j = top - 1; j <= top + 2; ++j) {
    for (int i = left - 1; i <= left + 2; ++i) {
      sum += cubicWeight(x - i) * cubicWeight(y - j) *
             sample(std::clamp(i, 0, width - 1), std::clamp(j, 0, height - 1));
    }
  }
  return sum;
}

TEST_F(Kernels, ResizeByTheCubicWithinOne) {
  const struct {
    NppiSize source, target;
    NppiRect from, to;
  } rows[] = {{{61, 37}, {41, 25}, {0, 0, 61, 37}, {0, 0, 41, 25}},
              {{7, 5}, {31, 23}, {0, 0, 7, 5}, {0, 0, 31, 23}},
              {{61, 37}, {50, 40}, {11, 3, 21, 30}, {5, 7, 33, 19}},
              {{1, 1}, {9, 3}, {0, 0, 1, 1}, {0, 0, 9, 3}}};
  for (const auto& row : rows) {
    for (const int channels : {1, 4}) {
      const int sourceStep = row.source.width * channels + 8, targetStep = row.target.width * channels + 4;
      const DeviceBytes source(static_cast<size_t>(sourceStep * row.source.height), 7);
      const DeviceBytes target(static_cast<size_t>(targetStep * row.target.height));
      const auto resize = channels == 1 ? nppiResize_8u_C1R_Ctx : nppiResize_8u_C4R_Ctx;
      ASSERT_EQ(resize(source.data(), sourceStep, row.source, row.from, target.data(), targetStep, row.target,
                       row.to, NPPI_INTER_CUBIC, npp),
                NPP_SUCCESS);
      cuStreamSynchronize(stream);
      compare(target, 1.0, [&](size_t index) -> double {
        const int y = static_cast<int>(index) / targetStep - row.to.y;
        const int x = static_cast<int>(index) % targetStep / channels - row.to.x;
        if (x < 0 || y < 0 || x >= row.to.width || y >= row.to.height) return -1;
        const auto sample = [&](int i, int j) {
          return double{
              1.0 * source[static_cast<size_t>((row.from.y + j) * sourceStep + (row.from.x + i) * channels) +
                           index % static_cast<size_t>(targetStep) % static_cast<size_t>(channels)]};
        };
        return clampByte(cubic(sample, row.from.width, row.from.height,
                               (x + 0.5) * row.from.width / row.to.width - 0.5,
                               (y + 0.5) * row.from.height / row.to.height - 0.5));
      });
    }
  }
  const NppiRect outside{1, 0, 61, 37};
  EXPECT_EQ(
      nppiResize_8u_C1R_Ctx(nullptr, 1, {1, 1}, outside, nullptr, 1, {1, 1}, outside, NPPI_INTER_CUBIC, npp),
      NPP_NULL_POINTER_ERROR);
  const DeviceBytes any(61 * 37);
  EXPECT_EQ(nppiResize_8u_C1R_Ctx(any.data(), 61, {61, 37}, outside, any.data(), 61, {61, 37}, outside,
                                  NPPI_INTER_CUBIC, npp),
            NPP_WRONG_INTERSECTION_ROI_ERROR);
}

constexpr int kWidth = 13, kHeight = 7;
constexpr int kHalfWidth = 7, kHalfHeight = 4;
constexpr int kPitch = 64;  ///< of all pictures here
constexpr size_t kArea = kPitch * kHeight;

size_t place(int x, int y, int bytes = 1) {
  return static_cast<size_t>(y * kPitch + x * bytes);
}
int rowOf(size_t index) {
  return static_cast<int>(index) / kPitch;
}
int columnOf(size_t index, int bytes = 1) {
  return static_cast<int>(index) % kPitch / bytes;
}
bool isOutside(size_t index, int bytes, int width = kWidth, int height = kHeight) {
  return columnOf(index, bytes) >= width || rowOf(index) >= height;
}

/// Calls `sum` for the four pixels of a chroma sample, edges repeated.
template <typename Value>
double meanOfBlock(int x, int y, Value value) {
  double sum = 0;
  for (int i = 0; i < 4; ++i)
    sum += value(std::min(2 * x + i % 2, kWidth - 1), std::min(2 * y + i / 2, kHeight - 1));
  return sum / 4;
}

struct Weights {
  double y[3], u[3], v[3];  ///< of red, green, blue
};
constexpr Weights k709{{0.2126, 0.7152, 0.0722}, {-0.114572, -0.385428, 0.5}, {0.5, -0.454153, -0.045847}};
constexpr Weights k601{{0.299, 0.587, 0.114}, {-0.168736, -0.331264, 0.5}, {0.5, -0.418688, -0.081312}};
double weigh(const double (&weights)[3], double r, double g, double b) {
  return weights[0] * r + weights[1] * g + weights[2] * b;
}

TEST_F(Kernels, ImageFunctionsDoWhatTheirNamesSay) {
  const DeviceBytes bgra(kArea, 3), other(kArea, 4);
  const DeviceBytes y(kArea), u(kArea), v(kArea), single(kArea), product(kArea, 5), inverse(kArea, 6),
      sum(kArea, 7);
  const NppiSize size{kWidth, kHeight};
  uint8_t* planes[3] = {y.data(), u.data(), v.data()};
  int steps[3] = {kPitch, kPitch, kPitch};
  EXPECT_EQ(nppiBGRToYUV420_8u_AC4P3R_Ctx(bgra.data(), kPitch, planes, steps, size, npp), NPP_SUCCESS);
  EXPECT_EQ(nppiCopy_8u_C4C1R_Ctx(bgra.data() + 3, kPitch, single.data(), kPitch, size, npp), NPP_SUCCESS);
  EXPECT_EQ(nppiMulScale_8u_C1IR_Ctx(other.data(), kPitch, product.data(), kPitch, size, npp), NPP_SUCCESS);
  EXPECT_EQ(nppiNot_8u_C1IR_Ctx(inverse.data(), kPitch, size, npp), NPP_SUCCESS);
  EXPECT_EQ(nppiAdd_8u_C1IRSfs_Ctx(other.data(), kPitch, sum.data(), kPitch, size, 0, npp), NPP_SUCCESS);
  cuStreamSynchronize(stream);
  const auto color = [&](const double(&weights)[3], int px, int py) {
    const size_t at = place(px, py, 4);
    return weigh(weights, bgra[at + 2], bgra[at + 1], bgra[at]);
  };
  compare(y, 1,
          [&](size_t i) { return isOutside(i, 1) ? -1 : clampByte(color(k709.y, columnOf(i), rowOf(i))); });
  const auto chroma = [&](const double(&weights)[3]) {
    return [&](size_t i) {
      if (isOutside(i, 1, kHalfWidth, kHalfHeight)) return -1;
      return clampByte(
          128 + meanOfBlock(columnOf(i), rowOf(i), [&](int px, int py) { return color(weights, px, py); }));
    };
  };
  compare(u, 1, chroma(k709.u));
  compare(v, 1, chroma(k709.v));
  compare(single, 0,
          [&](size_t i) { return isOutside(i, 1) ? -1 : bgra[place(columnOf(i), rowOf(i), 4) + 3]; });
  compare(product, 0, [&](size_t i) {
    return isOutside(i, 1) ? -1 : static_cast<int>(std::lround(product[i] * other[i] / 255.0));
  });
  compare(inverse, 0, [&](size_t i) { return isOutside(i, 1) ? -1 : 255 - inverse[i]; });
  compare(sum, 0, [&](size_t i) { return isOutside(i, 1) ? -1 : std::min(255, sum[i] + other[i]); });
}

/// Five pixels of a line of "v210" and their ten-bit samples.
struct V210 {
  static constexpr int kPitch210 = 128;
  explicit V210(uint32_t seed) : bytes(kPitch210 * kHeight, seed) {}
  int sample(int index, int row) const {
    const size_t at = static_cast<size_t>(row * kPitch210 + index / 3 * 4);
    const uint32_t word =
        bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 | uint32_t{bytes[at + 3]} << 24;
    return static_cast<int>(word >> (index % 3 * 10) & 1023);
  }
  int y(int x, int row) const { return sample(2 * x + 1, row); }
  int u(int x, int row) const { return sample(x / 2 * 4, row); }
  int v(int x, int row) const { return sample(x / 2 * 4 + 2, row); }
  DeviceBytes bytes;
};

TEST_F(Kernels, CapturedTenBitsBecomeEight) {
  const V210 source(11);
  const DeviceBytes yuva(kArea), luma(kArea), chroma(kArea), fastLuma(kArea), fastChroma(kArea);
  run("V210ToYUVA_drvapi", kWidth, kHeight, source.bytes.data(), V210::kPitch210, yuva.data(), kPitch, kWidth,
      kHeight);
  compare(yuva, 0, [&](size_t i) -> double {
    if (isOutside(i, 4)) return -1;
    const int x = columnOf(i, 4), y = rowOf(i);
    const int tens[] = {source.y(x, y), source.u(x, y), source.v(x, y), 1023};
    return clampByte(tens[i % 4] / 4.0);
  });
  for (const int expand : {0, 1}) {
    const auto eight = [&](double ten, bool isLuma) {
      if (expand == 0) return clampByte(ten / 4);
      return isLuma ? clampByte((ten - 64) * 255 / 876) : clampByte((ten - 512) * 255 / 896 + 128);
    };
    run("V210ToNV12_drvapi", kHalfWidth, kHalfHeight, source.bytes.data(), V210::kPitch210, kWidth, kHeight,
        luma.data(), kPitch, chroma.data(), kPitch, kWidth, kHeight, expand);
    run("V210ToNV12Fast_drvapi", kHalfWidth, kHalfHeight, source.bytes.data(), V210::kPitch210, 2, 1,
        fastLuma.data(), kPitch, fastChroma.data(), kPitch, 4, 2, kWidth - 4, kHeight - 2, expand);
    compare(luma, 1,
            [&](size_t i) { return isOutside(i, 1) ? -1 : eight(source.y(columnOf(i), rowOf(i)), true); });
    compare(chroma, 1, [&](size_t i) -> double {
      const int x = columnOf(i) / 2 * 2, y = 2 * rowOf(i), below = std::min(y + 1, kHeight - 1);
      if (columnOf(i) >= 2 * kHalfWidth || rowOf(i) >= kHalfHeight) return -1;
      return eight(i % 2 == 0 ? (source.u(x, y) + source.u(x, below)) / 2.0
                              : (source.v(x, y) + source.v(x, below)) / 2.0,
                   false);
    });
    compare(fastLuma, 1, [&](size_t i) {
      const int x = columnOf(i) - 4, y = rowOf(i) - 2;
      return x < 0 || y < 0 || x >= kWidth - 4 || y >= kHeight - 2 ? -1 : eight(source.y(x + 2, y + 1), true);
    });
    compare(fastChroma, 1, [&](size_t i) -> double {
      const int x = columnOf(i) - 4, y = rowOf(i) - 1;
      if (x < 0 || y < 0 || x >= kWidth - 3 || y >= kHalfHeight - 1) return -1;
      const int above = 2 * y + 1, below = std::min(2 * y + 1, kHeight - 3) + 1, column = x / 2 * 2 + 2;
      return eight(i % 2 == 0 ? (source.u(column, above) + source.u(column, below)) / 2.0
                              : (source.v(column, above) + source.v(column, below)) / 2.0,
                   false);
    });
  }
}

TEST_F(Kernels, CapturedRgbBecomesYuv) {
  const DeviceBytes source(kArea, 12), yuva(kArea), luma(kArea), chroma(kArea);
  for (const int narrow : {0, 1}) {
    const auto color = [&](const double(&weights)[3], int x, int y) {
      const size_t at = place(x, y, 4);
      const uint32_t word =
          uint32_t{source[at]} << 24 | source[at + 1] << 16 | source[at + 2] << 8 | source[at + 3];
      const auto value = [&](int shift) {
        const double ten = word >> shift & 1023;
        return narrow != 0 ? (ten - 64) * 255 / 876 : ten * 255 / 1023;
      };
      return weigh(weights, value(20), value(10), value(0));
    };
    run("R210ToYUVA_drvapi", kWidth, kHeight, source.data(), kPitch, yuva.data(), kPitch, kWidth, kHeight,
        narrow);
    compare(yuva, 1, [&](size_t i) -> double {
      if (isOutside(i, 4)) return -1;
      const double(*rows[])[3] = {&k709.y, &k709.u, &k709.v};
      return i % 4 == 3 ? 255
                        : clampByte(color(*rows[i % 4], columnOf(i, 4), rowOf(i)) + (i % 4 == 0 ? 0 : 128));
    });
    for (const int kind : {1, 2}) {
      const Weights& weights = kind == 1 ? k601 : k709;
      run("R210ToNV12_drvapi", kHalfWidth, kHalfHeight, source.data(), kPitch, kWidth, kHeight, luma.data(),
          kPitch, chroma.data(), kPitch, kWidth, kHeight, narrow, kind);
      compare(luma, 1, [&](size_t i) {
        return isOutside(i, 1) ? -1 : clampByte(color(weights.y, columnOf(i), rowOf(i)));
      });
      compare(chroma, 1, [&](size_t i) -> double {
        if (columnOf(i) >= 2 * kHalfWidth || rowOf(i) >= kHalfHeight) return -1;
        return clampByte(meanOfBlock(columnOf(i) / 2, rowOf(i), [&](int x, int y) {
          return clampByte(128 + color(i % 2 == 0 ? weights.u : weights.v, x, y));
        }));
      });
    }
  }
}

/// Packed four-byte YUV into two planes and back, and "YV24" and back.
TEST_F(Kernels, PackedPicturesBecomePlanesAndBack) {
  const DeviceBytes packed(kArea, 13), luma(kArea), chroma(kArea), both(kPitch * (kHeight + kHalfHeight)),
      back(kArea);
  const auto at = [&](int x, int y, int component) {
    return int{packed[place(x, y, 4) + static_cast<size_t>(component)]};
  };
  const auto isChromaOutside = [](size_t i) {
    return columnOf(i) >= 2 * kHalfWidth || rowOf(i) >= kHalfHeight;
  };
  const auto chromaOf = [&](size_t i, int first) {
    return clampByte(meanOfBlock(columnOf(i) / 2, rowOf(i),
                                 [&](int x, int y) { return at(x, y, first + static_cast<int>(i % 2)); }));
  };
  run("YUVAToNV12_drvapi", kHalfWidth, kHalfHeight, packed.data(), kPitch, luma.data(), chroma.data(), kPitch,
      kWidth, kHeight);
  compare(luma, 0, [&](size_t i) { return isOutside(i, 1) ? -1 : at(columnOf(i), rowOf(i), 0); });
  compare(chroma, 0, [&](size_t i) { return isChromaOutside(i) ? -1 : chromaOf(i, 1); });
  run("AYUVToNV12_drvapi_old", kHalfWidth, kHalfHeight, packed.data(), kPitch, both.data(), kPitch, kWidth,
      kHeight);
  compare(both, 0, [&](size_t i) {
    if (rowOf(i) < kHeight) return isOutside(i, 1) ? -1 : at(columnOf(i), rowOf(i), 1);
    return isChromaOutside(i - kArea) ? -1 : chromaOf(i - kArea, 2);
  });
  const Bytes y = luma.fetch(), uv = chroma.fetch();
  run("NV12ToYUVA_drvapi", kWidth, kHeight, luma.data(), kPitch, chroma.data(), kPitch, back.data(), kPitch,
      kWidth, kHeight);
  compare(back, 0, [&](size_t i) -> double {
    const int x = columnOf(i, 4), row = rowOf(i);
    if (isOutside(i, 4)) return -1;
    if (i % 4 == 3) return 255;
    return i % 4 == 0 ? y[place(x, row)] : uv[place(x / 2 * 2, row / 2) + i % 4 - 1];
  });

  constexpr size_t kPlane = kWidth * kHeight;
  const DeviceBytes planes(3 * kPlane);
  run("YUVAToYV24_drvapi", kWidth, kHeight, packed.data(), kPitch, planes.data(), kWidth, kHeight);
  compare(planes, 0, [&](size_t i) {
    const int pixel = static_cast<int>(i % kPlane);
    return at(pixel % kWidth, pixel / kWidth, static_cast<int>(i / kPlane));
  });
  run("YV24ToYUVA_drvapi", kWidth, kHeight, planes.data(), back.data(), kPitch, kWidth, kHeight);
  compare(back, 0, [&](size_t i) {
    if (isOutside(i, 4)) return -1;
    return i % 4 == 3 ? 255 : int{packed[i]};
  });
}

TEST_F(Kernels, PlanesChangeTheirOrder) {
  const DeviceBytes nv12(kPitch * (kHeight + kHalfHeight), 14), planar(kPitch * (kHeight + kHalfHeight)),
      again(kPitch * (kHeight + kHalfHeight));
  const int64_t v = kPitch * kHeight, u = v + kPitch / 2 * kHalfHeight;  // V first, as "YV12" has it
  run("NV12AndYV12Conversion_drvapi", kHalfWidth, kHalfHeight, nv12.data(), kPitch, planar.data(), kPitch, u,
      v, kWidth, kHeight, 1);
  compare(planar, 0, [&](size_t i) -> double {
    if (i < kArea) return isOutside(i, 1) ? -1 : nv12[i];
    const int sample = static_cast<int>(i - kArea), x = sample % (kPitch / 2),
              y = sample / (kPitch / 2) % kHalfHeight;
    const size_t isU = static_cast<int64_t>(i) >= u ? 0 : 1;
    return x >= kHalfWidth ? -1 : nv12[kArea + place(2 * x, y) + isU];
  });
  run("NV12AndYV12Conversion_drvapi", kHalfWidth, kHalfHeight, again.data(), kPitch, planar.data(), kPitch, u,
      v, kWidth, kHeight, 0);
  compare(again, 0,
          [&](size_t i) { return columnOf(i) >= (i < kArea ? kWidth : 2 * kHalfWidth) ? -1 : int{nv12[i]}; });
}

TEST_F(Kernels, YuvBecomesRgbByTheMatrixInConstantMemory) {
  const DeviceBytes yuva(kArea, 15), rgba(kArea), nv12(kPitch * (kHeight + kHalfHeight), 16), words(kArea);
  for (const uint32_t kind : {2u, 1u}) {
    ColorSpaceMatrix matrix{};
    setColorSpaceMatrix(kind, matrix, 0);
    ASSERT_EQ(module->updateConstantMemory(matrix), CUDA_SUCCESS);
    const auto rgb = [&](double y, double u, double v, size_t component) {  // 0 red
      if (kind == 1) {
        const double luma = 1.1644 * (y - 16);
        return clampByte(component == 0   ? luma + 1.596 * (v - 128)
                         : component == 1 ? luma - 0.3918 * (u - 128) - 0.813 * (v - 128)
                                          : luma + 2.0172 * (u - 128));
      }
      return clampByte(component == 0   ? y + 1.5748 * (v - 128)
                       : component == 1 ? y - 0.18732 * (u - 128) - 0.46812 * (v - 128)
                                        : y + 1.8556 * (u - 128));
    };
    for (const int blueFirst : {0, 1}) {
      run("YUVAToRGBA_drvapi", kWidth, kHeight, yuva.data(), kPitch, rgba.data(), kPitch, kWidth, kHeight,
          blueFirst);
      compare(rgba, 1, [&](size_t i) -> double {
        if (isOutside(i, 4)) return -1;
        const size_t pixel = i / 4 * 4, c = i % 4;
        return c == 3 ? yuva[i]
                      : rgb(yuva[pixel], yuva[pixel + 1], yuva[pixel + 2], blueFirst != 0 ? 2 - c : c);
      });
    }
    run("NV12ToARGB_drvapi", kWidth, kHeight, nv12.data(), kPitch, words.data(), kPitch, kWidth, kHeight);
    compare(words, 1, [&](size_t i) -> double {
      if (isOutside(i, 4)) return -1;
      const int x = columnOf(i, 4), y = rowOf(i);
      const size_t pair = kArea + place(x / 2 * 2, y / 2);
      return i % 4 == 3 ? 255 : rgb(nv12[place(x, y)], nv12[pair], nv12[pair + 1], 2 - i % 4);
    });
  }
}

TEST_F(Kernels, PackedPicturesMoveScaleAndBlend) {
  const DeviceBytes source(kArea, 17), copied(kArea), placed(kArea), under(kArea, 18);
  run("Passthru_drvapi", kWidth, kHeight, source.data(), kPitch, copied.data(), kPitch, kWidth, kHeight);
  compare(copied, 0, [&](size_t i) { return isOutside(i, 4) ? -1 : int{source[i]}; });

  for (const int filter : {0, 1}) {
    run("TransformYUVA_drvapi", 9, 5, source.data(), kPitch, kWidth, kHeight, placed.data(), kPitch, 3, 1, 9,
        5, filter);
    compare(placed, filter, [&](size_t i) -> double {
      const int x = columnOf(i, 4) - 3, y = rowOf(i) - 1;
      if (x < 0 || y < 0 || x >= 9 || y >= 5) return -1;
      const auto sample = [&](int px, int py) { return 1.0 * source[place(px, py, 4) + i % 4]; };
      const double atX = (x + 0.5) * kWidth / 9, atY = (y + 0.5) * kHeight / 5;
      return filter == 0 ? sample(static_cast<int>(atX), static_cast<int>(atY))
                         : clampByte(cubic(sample, kWidth, kHeight, atX - 0.5, atY - 0.5));
    });
  }

  constexpr size_t kFactor = 3, kTight = 4 * kWidth;
  const DeviceBytes tight(kTight * kHeight, 19), shrunk(4 * (kWidth / 3) * (kHeight / 3));
  run("YUVAScaleByFactor_drvapi", kWidth / 3, kHeight / 3, tight.data(), shrunk.data(), kWidth, kHeight, 3);
  compare(shrunk, 0.5, [&](size_t i) {
    const size_t x = i / 4 % (kWidth / 3), y = i / 4 / (kWidth / 3);
    double sum = 0;
    for (size_t j = 0; j < kFactor * kFactor; ++j)
      sum += tight[(y * kFactor + j / kFactor) * kTight + (x * kFactor + j % kFactor) * 4 + i % 4];
    return sum / kFactor / kFactor;
  });

  // Part of it outside, at (-2, 5) of the image below; of the image above the part from (1, 2) on.
  for (const int opacity : {255, 100}) {
    const Bytes before = under.fetch();
    run("OverlayImage_drvapi", 8, 4, under.data(), kPitch, kWidth, kHeight, source.data(), kPitch, 1, 2, 8, 4,
        -2, 5, opacity, 0);
    const Bytes after = under.fetch();
    for (size_t i = 0; i < after.size(); ++i) {
      const int x = columnOf(i, 4) + 2, y = rowOf(i) - 5;
      if (isOutside(i, 4) || y < 0 || x >= 8 || y >= 4) {
        ASSERT_EQ(after[i], before[i]) << i;
        continue;
      }
      const size_t over = place(x + 1, y + 2, 4);
      const double alpha = source[over + 3] * opacity / 255.0 / 255.0;
      const double share = i % 4 == 3 ? 255 : source[over + i % 4];
      ASSERT_NEAR(after[i], before[i] * (1 - alpha) + share * alpha, 2) << i;
    }
  }
}

}  // namespace
}  // namespace qvs
