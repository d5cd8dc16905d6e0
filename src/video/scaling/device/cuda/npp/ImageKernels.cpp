// Which kernels for pictures are loaded in which context.
#include "video/scaling/device/cuda/npp/ImageKernels.h"

#include <atomic>
#include <map>
#include <mutex>

#include "video/scaling/device/cuda/PtxText.h"

namespace qvs {
namespace {

constexpr unsigned kBlockWidth = 32;
constexpr unsigned kBlockHeight = 8;

constexpr std::array<const char*, kImageKernels> kNames = {
    "npp_resize_c1",    "npp_resize_c4",      "npp_bgra_to_420",   "npp_nv12_to_420",
    "npp_copy_c4c1",    "npp_mulscale_c1",    "npp_not_c1",        "npp_add_c1",
    "qvs_draw_overlay", "qvs_planar_to_nv12", "qvs_planar_to_bgra"};

/// Counts releases: what a thread remembers from before one may be of a context that is no more.
std::atomic<uint64_t> releases{0};

struct Registry {
  std::mutex lock;
  std::map<CUcontext, std::unique_ptr<ImageKernels>> modules;
};

/// Never destroyed: contexts live as long as the process.
Registry& registry() {
  static auto* const made = new Registry;
  return *made;
}

struct Last {
  CUcontext context = nullptr;
  uint64_t releases = 0;
  const ImageKernels* kernels = nullptr;
};

unsigned blocks(int threads, unsigned block) {
  return (static_cast<unsigned>(threads) + block - 1) / block;
}

}  // namespace

std::unique_ptr<ImageKernels> ImageKernels::load() {
  std::unique_ptr<ImageKernels> made(new ImageKernels);
  if (cuModuleLoadData(&made->module, joinPtx(image_ptx).c_str()) != CUDA_SUCCESS) return nullptr;
  for (size_t i = 0; i < kImageKernels; ++i) {
    if (cuModuleGetFunction(&made->functions[i], made->module, kNames[i]) != CUDA_SUCCESS) return nullptr;
  }
  return made;
}

ImageKernels::~ImageKernels() {
  if (module != nullptr) cuModuleUnload(module);
}

const ImageKernels* ImageKernels::ofCurrentContext() {
  thread_local Last last;
  CUcontext context = nullptr;
  if (cuCtxGetCurrent(&context) != CUDA_SUCCESS || context == nullptr) return nullptr;
  const uint64_t now = releases.load(std::memory_order_acquire);
  if (last.kernels != nullptr && last.context == context && last.releases == now) return last.kernels;
  Registry& all = registry();
  const std::lock_guard hold(all.lock);
  std::unique_ptr<ImageKernels>& entry = all.modules[context];
  if (!entry) entry = load();
  last = {context, now, entry.get()};
  return last.kernels;
}

void ImageKernels::release(CUcontext context) {
  Registry& all = registry();
  const std::lock_guard hold(all.lock);
  all.modules.erase(context);
  releases.fetch_add(1, std::memory_order_release);
}

CUresult ImageKernels::queue(ImageKernel kernel, CUstream stream, int width, int height, void** parameters) {
  const ImageKernels* kernels = ofCurrentContext();
  if (kernels == nullptr) return CUDA_ERROR_INVALID_IMAGE;
  return cuLaunchKernel(kernels->functions[static_cast<size_t>(kernel)], blocks(width, kBlockWidth),
                        blocks(height, kBlockHeight), 1, kBlockWidth, kBlockHeight, 1, 0, stream, parameters,
                        nullptr);
}

}  // namespace qvs
