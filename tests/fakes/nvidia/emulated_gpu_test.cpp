// The emulated driver itself: what would hide a fault of the product if it were wrong here.
#include "EmulatedGpu.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "cuda.h"
#include "cuda_runtime_api.h"
#include "cudawrapper.h"

extern const char* const probe_ptx[];

namespace qvs::fakes {
namespace {

constexpr size_t kBytes = 5000;
constexpr CUresult kOk = CUDA_SUCCESS;

/// Streams are so late here that only what was waited for is done: set by the build for this program.
class EmulatedDriver : public testing::Test {
 protected:
  void SetUp() override {
    gpu.faults("");
    before = gpu.counts();
    ASSERT_EQ(cuInit(0), kOk);
    ASSERT_EQ(cuCtxCreate(&context, 0, 0), kOk);
    ASSERT_EQ(cuStreamCreate(&stream, 0), kOk);
    ASSERT_EQ(cuMemAllocHost(&hostMemory, kBytes), kOk);
    host = static_cast<uint8_t*>(hostMemory);
    std::fill_n(host, kBytes, uint8_t{1});
  }

  void TearDown() override {
    gpu.faults("");
    cuMemFreeHost(hostMemory);
    cuStreamDestroy(stream);
    cuCtxDestroy(context);
    const EmulatedGpuCounts after = gpu.counts();
    EXPECT_EQ(after.bytes, before.bytes);
    EXPECT_EQ(after.blocks, before.blocks);
    EXPECT_EQ(after.contexts + after.streams + after.events + after.modules + after.pinned, 0);
    EXPECT_EQ(after.overruns, before.overruns);
  }

  CUdeviceptr device(size_t bytes = kBytes) {
    CUdeviceptr pointer = 0;
    EXPECT_EQ(cuMemAlloc(&pointer, bytes), kOk);
    return pointer;
  }

  CUfunction kernel(CUmodule* module) {
    std::string ptx;
    for (const char* const* piece = probe_ptx; **piece != 0; ++piece) ptx += *piece;
    CUfunction function = nullptr;
    EXPECT_EQ(cuModuleLoadData(module, ptx.c_str()), kOk);
    EXPECT_EQ(cuModuleGetFunction(&function, *module, "probeScale"), kOk);
    return function;
  }

  static CUresult launch(CUfunction function, CUdeviceptr from, CUdeviceptr to, CUstream on) {
    int pitch = 100, width = 100, height = 50;
    void* parameters[] = {&from, &to, &pitch, &width, &height};
    return cuLaunchKernel(function, 7, 4, 1, 16, 16, 1, 0, on, parameters, nullptr);
  }

  EmulatedGpu gpu;
  EmulatedGpuCounts before{};
  CUcontext context = nullptr;
  CUstream stream = nullptr;
  void* hostMemory = nullptr;
  uint8_t* host = nullptr;
};

TEST_F(EmulatedDriver, MemoryOfTheCardIsOutOfTheHostsReach) {
  const CUdeviceptr memory = device();
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  // The kernel reads as the program would, without the end of the program.
  EXPECT_EQ(syscall(SYS_write, ends[1], memory, 1), -1);
  EXPECT_EQ(errno, EFAULT);
  close(ends[0]);
  close(ends[1]);

  EXPECT_EQ(cuMemcpyHtoD(memory, host, kBytes), kOk);
  EXPECT_EQ(cuMemcpyHtoD(memory + 1, host, kBytes), CUDA_ERROR_INVALID_VALUE) << "past the end";
  EXPECT_EQ(cuMemcpyHtoD(reinterpret_cast<CUdeviceptr>(host), host, kBytes), CUDA_ERROR_INVALID_VALUE);
  EXPECT_EQ(cuMemFree(memory), kOk);
  EXPECT_EQ(cuMemFree(memory), CUDA_ERROR_INVALID_VALUE);
  EXPECT_EQ(cuMemcpyDtoH(host, memory, 1), CUDA_ERROR_INVALID_VALUE) << "freed";
  CUdeviceptr tooMuch = 0;
  EXPECT_EQ(cuMemAlloc(&tooMuch, size_t{1} << 40), CUDA_ERROR_OUT_OF_MEMORY);
}

TEST_F(EmulatedDriver, AnswersWhatBelongsElsewhereAsTheVendorDoes) {
  const CUdeviceptr memory = device();
  CUcontext other = nullptr;
  CUstream gone = nullptr;
  ASSERT_EQ(cuStreamCreate(&gone, 0), kOk);
  EXPECT_EQ(cuStreamDestroy(gone), kOk);
  EXPECT_EQ(cuMemsetD8Async(memory, 1, 1, gone), CUDA_ERROR_INVALID_HANDLE);
  ASSERT_EQ(cuCtxCreate(&other, 0, 0), kOk);
  EXPECT_EQ(cuMemsetD8Async(memory, 1, 1, stream), CUDA_ERROR_INVALID_HANDLE) << "the other context's stream";
  EXPECT_EQ(cuCtxDestroy(other), kOk);
  EXPECT_EQ(cuCtxPushCurrent(other), CUDA_ERROR_INVALID_CONTEXT);
  std::thread([&] {
    EXPECT_EQ(cuStreamSynchronize(stream), CUDA_ERROR_INVALID_CONTEXT) << "a thread without a context";
    EXPECT_EQ(cuCtxPopCurrent(nullptr), CUDA_ERROR_INVALID_CONTEXT);
  }).join();
  cuMemFree(memory);
}

TEST_F(EmulatedDriver, NothingIsThereBeforeSomebodyWaited) {
  const CUdeviceptr memory = device();
  std::vector<uint8_t> pageable(kBytes, 7);
  EXPECT_EQ(cuMemcpyHtoDAsync(memory, pageable.data(), kBytes, stream), kOk);
  std::fill(pageable.begin(), pageable.end(), uint8_t{8});  // was read already
  EXPECT_EQ(cuMemcpyDtoHAsync(host, memory, kBytes, stream), kOk);
  EXPECT_EQ(host[0], 1);
  EXPECT_EQ(cuStreamQuery(stream), CUDA_ERROR_NOT_READY);
  EXPECT_EQ(cuStreamSynchronize(stream), kOk);
  EXPECT_EQ(host[0], 7);

  // A second stream sees nothing of the first but by an event; the stream without a handle sees all.
  CUstream second = nullptr;
  CUevent event = nullptr;
  ASSERT_EQ(cuStreamCreate(&second, 0), kOk);
  ASSERT_EQ(cuEventCreate(&event, 0), kOk);
  EXPECT_EQ(cuMemsetD8Async(memory, 20, kBytes, stream), kOk);
  EXPECT_EQ(cuEventRecord(event, stream), kOk);
  EXPECT_EQ(cuMemcpyDtoHAsync(host, memory, kBytes, second), kOk);
  EXPECT_EQ(cuStreamSynchronize(second), kOk);
  EXPECT_EQ(host[0], 7);
  EXPECT_EQ(cuStreamWaitEvent(second, event, 0), kOk);
  EXPECT_EQ(cuMemcpyDtoHAsync(host, memory, kBytes, second), kOk);
  EXPECT_EQ(cuStreamSynchronize(second), kOk);
  EXPECT_EQ(host[0], 20);
  EXPECT_EQ(cuMemsetD8Async(memory, 21, kBytes, second), kOk);
  EXPECT_EQ(cuMemcpyDtoH(host, memory, kBytes), kOk);
  EXPECT_EQ(host[0], 21);
  EXPECT_EQ(cuEventDestroy(event), kOk);
  EXPECT_EQ(cuStreamDestroy(second), kOk);
  EXPECT_EQ(cuMemFree(memory), kOk);
}

TEST_F(EmulatedDriver, KernelsRunInTheirHostForm) {
  const CUdeviceptr from = device(), to = device();
  CUmodule module = nullptr;
  const CUfunction scale = kernel(&module);
  CUfunction none = nullptr;
  EXPECT_EQ(cuModuleGetFunction(&none, module, "probe"), CUDA_ERROR_NOT_FOUND);
  CUdeviceptr factors = 0;
  size_t bytes = 0;
  ASSERT_EQ(cuModuleGetGlobal(&factors, &bytes, module, "probeFactor"), kOk);
  ASSERT_EQ(bytes, 2 * sizeof(int));
  const int values[] = {3, 5};
  EXPECT_EQ(cuMemcpyHtoD(factors, values, bytes), kOk);
  EXPECT_EQ(launch(scale, 0, from, stream), kOk);
  EXPECT_EQ(launch(scale, from, to, stream), kOk);
  EXPECT_EQ(cuMemcpyDtoHAsync(host, to, kBytes, stream), kOk);
  EXPECT_EQ(cuStreamSynchronize(stream), kOk);
  for (int i = 0; i < 5000; ++i) ASSERT_EQ(host[i], static_cast<uint8_t>((i / 100 + i % 100) * 9 + 20)) << i;
  EXPECT_EQ(gpu.counts().launches - before.launches, 2u);

  // A host address ends the context, once the kernel has run.
  EXPECT_EQ(launch(scale, reinterpret_cast<CUdeviceptr>(host), to, stream), kOk);
  EXPECT_EQ(cuStreamSynchronize(stream), CUDA_ERROR_ILLEGAL_ADDRESS);
  CUdeviceptr more = 0;
  EXPECT_EQ(cuMemAlloc(&more, 1), CUDA_ERROR_ILLEGAL_ADDRESS);
}

TEST_F(EmulatedDriver, MemoryOfPoolsFollowsItsStream) {
  CUstream second = nullptr;
  ASSERT_EQ(cuStreamCreate(&second, 0), kOk);
  void* pooled = nullptr;
  ASSERT_EQ(cudaMallocAsync(&pooled, kBytes, stream), cudaSuccess);
  const auto memory = reinterpret_cast<CUdeviceptr>(pooled);
  EXPECT_EQ(cuMemsetD8Async(memory, 9, kBytes, stream), kOk);
  EXPECT_EQ(cuMemcpyDtoHAsync(host, memory, kBytes, stream), kOk);
  EXPECT_EQ(cudaFreeAsync(pooled, stream), cudaSuccess);
  EXPECT_EQ(cuMemcpyDtoHAsync(host, memory, kBytes, stream), CUDA_ERROR_INVALID_VALUE)
      << "its end is on its way";
  EXPECT_EQ(cuStreamSynchronize(stream), kOk);
  EXPECT_EQ(host[kBytes - 1], 9);
  EXPECT_EQ(gpu.counts().bytes, before.bytes);

  // Not there yet in the order of another stream.
  ASSERT_EQ(cudaMallocAsync(&pooled, kBytes, stream), cudaSuccess);
  EXPECT_EQ(cuMemsetD8Async(reinterpret_cast<CUdeviceptr>(pooled), 9, kBytes, second), kOk);
  EXPECT_EQ(cuStreamSynchronize(second), CUDA_ERROR_ILLEGAL_ADDRESS);
  EXPECT_EQ(cudaFreeAsync(pooled, stream), static_cast<cudaError_t>(CUDA_ERROR_ILLEGAL_ADDRESS));
  EXPECT_EQ(cuStreamDestroy(second), CUDA_ERROR_ILLEGAL_ADDRESS);
}

TEST_F(EmulatedDriver, FailsAsToldAndReleasesAllTheSame) {
  gpu.faults("cuMemAlloc@2=status:2;cuMemFree@1=status:999;cuStreamSynchronize@2=status:700");
  const CUdeviceptr memory = device();
  CUdeviceptr more = 0;
  EXPECT_EQ(cuMemAlloc(&more, 1), CUDA_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(cuMemFree(memory), CUDA_ERROR_UNKNOWN);
  EXPECT_STREQ(gpu.faulty(), "cuMemFree");
  EXPECT_EQ(gpu.counts().blocks, before.blocks);
  EXPECT_EQ(cuStreamSynchronize(stream), kOk);
  EXPECT_EQ(cuStreamSynchronize(stream), CUDA_ERROR_ILLEGAL_ADDRESS);
  EXPECT_EQ(cuMemAlloc(&more, 1), CUDA_ERROR_ILLEGAL_ADDRESS) << "stays";
  CUcontext next = nullptr;
  EXPECT_EQ(cuCtxCreate(&next, 0, 0), kOk) << "another context is none the worse";
  EXPECT_EQ(cuMemAlloc(&more, 1), kOk);
  EXPECT_EQ(cuCtxDestroy(next), kOk) << "takes its memory with it";
  gpu.faults("any@1+=status:999");
  int count = 0;
  EXPECT_EQ(cuDeviceGetCount(&count), CUDA_ERROR_UNKNOWN) << "a card that is lost";
}

TEST_F(EmulatedDriver, ThreadsWorkSideBySide) {
  CUmodule module = nullptr;
  const CUfunction scale = kernel(&module);
  const int values[] = {2, 0};
  CUdeviceptr factors = 0;
  ASSERT_EQ(cuModuleGetGlobal(&factors, nullptr, module, "probeFactor"), kOk);
  ASSERT_EQ(cuMemcpyHtoD(factors, values, sizeof(values)), kOk);
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&, number] {
      EXPECT_EQ(cuCtxPushCurrent(context), kOk);
      CUstream own = nullptr;
      EXPECT_EQ(cuStreamCreate(&own, CU_STREAM_NON_BLOCKING), kOk);
      std::vector<uint8_t> picture(kBytes, static_cast<uint8_t>(number));
      for (int round = 0; round < 5; ++round) {
        const CUdeviceptr memory = device();
        EXPECT_EQ(cuMemcpyHtoDAsync(memory, picture.data(), kBytes, own), kOk);
        EXPECT_EQ(launch(scale, memory, memory, own), kOk);
        EXPECT_EQ(cuMemcpyDtoHAsync(picture.data(), memory, kBytes, own), kOk);
        EXPECT_EQ(cuMemFree(memory), kOk);
      }
      EXPECT_EQ(picture[kBytes - 1], number << 5);
      EXPECT_EQ(cuStreamDestroy(own), kOk);
      EXPECT_EQ(cuCtxPopCurrent(nullptr), kOk);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace qvs::fakes
