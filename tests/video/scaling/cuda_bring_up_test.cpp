// The start of a device on a driver that fails at each step in turn.

#include <gtest/gtest.h>

#include "log/LogCollector.h"
#include "video/scaling/device/cuda/CudaBringUp.h"

namespace qvs::test {
namespace {

int failingStep;  ///< of CudaStep
bool hasDriver = true;

CUresult answer(CudaStep step) {
  return static_cast<CUresult>(failingStep == static_cast<int>(step) ? 7 : 0);
}

}  // namespace

// The program's own functions come before the library's. Three devices.
extern "C" CUresult cuInit(unsigned) {
  return hasDriver ? answer(CudaStep::kInit) : CUDA_ERROR_NO_DEVICE;
}
extern "C" CUresult cuDeviceGetCount(int* count) {
  *count = 3;
  return answer(CudaStep::kCount);
}
extern "C" CUresult cuDeviceGet(CUdevice* device, int ordinal) {
  *device = 40 + ordinal;
  return answer(CudaStep::kDevice);
}
extern "C" CUresult cuDeviceComputeCapability(int*, int*, CUdevice device) {
  return device == 42 ? answer(CudaStep::kCapability) : CUDA_ERROR_INVALID_VALUE;
}

namespace {

TEST(CudaBringUp, EachStepIsToldAsItsUserTellsIt) {
  const struct {
    const CudaUser& user;
    CudaStep step;
    uint32_t result;
    const char* line;
  } rows[] = {
      {kCudaUserFrames, CudaStep::kInit, 0u - 1,
       "VideoFrameBufferSet.initVideoScaleCUDA[{context}]: cuInit: Failure result:7"},
      {kCudaUserFrames, CudaStep::kCount, 0u - 2,
       "VideoFrameBufferSet.initVideoScaleCUDA[{context}]: cuDeviceGetCount: Failure result:7"},
      {kCudaUserFrames, CudaStep::kDevice, 0u - 4,
       "VideoFrameBufferSet.initVideoScaleCUDA[{context}]: cuDeviceGet: Failure result:7"},
      {kCudaUserNvcuvid, CudaStep::kCapability, 0u - 5,
       "VideoDecoderGenericNVCUVID.initCuda[{context}]: cuDeviceComputeCapability: Failure result:7"},
      {kCudaUserNvenc, CudaStep::kInit, 0u - 1,
       "VideoEncoderH26XNVENC12Host.initCUDA[{context}]: Failure result:7"},
  };
  for (const auto& row : rows) {
    failingStep = static_cast<int>(row.step);
    LogCollector log;
    CUdevice device = 0;
    EXPECT_EQ(CudaBringUp(row.user, &log).openDevice(2, &device), row.result);
    std::vector<LogStatement> lines;
    log.getLogStatements(lines);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].str, row.line);
    EXPECT_EQ(lines[0].level, kLogWarn);
    EXPECT_EQ(lines[0].contextType, row.user.context);
  }
}

TEST(CudaBringUp, OnlyDevicesThatAreThereAreOpened) {
  failingStep = -1;
  LogCollector log;
  CUdevice device = 0;
  const CudaBringUp bringUp(kCudaUserFrames, &log);
  EXPECT_EQ(bringUp.openDevice(2, &device), 0u);
  EXPECT_EQ(device, 42);
  for (const int32_t ordinal : {3, -1}) EXPECT_EQ(bringUp.openDevice(ordinal, &device), 0u - 3);
  hasDriver = false;
  EXPECT_EQ(bringUp.openDevice(0, &device), 0u - 1);
  hasDriver = true;
}

}  // namespace
}  // namespace qvs::test
