// The NVIDIA driver's libraries for encoding: opened at run time, their version, their failures in words.
#include "NvencDriver.h"

#include <cstdio>
#include <mutex>
#include <utility>

// What the loader has to say goes to the caller, never to the process's output.
#define FFNV_LOG_FUNC(context, message, ...) \
  std::snprintf(static_cast<char*>(context), 128, message, __VA_ARGS__)
#define FFNV_DEBUG_LOG_FUNC(context, message, ...)
#include <ffnvcodec/dynlink_loader.h>

namespace qvs::nvenc {
namespace {

constexpr uint32_t kWantedVersion = NVENCAPI_MAJOR_VERSION << 4 | NVENCAPI_MINOR_VERSION;

std::string versionText(uint32_t version) {
  return std::to_string(version >> 4) + "." + std::to_string(version & 15);
}

std::string load(NvencDriver& driver) {
  char said[128] = "";
  const auto lastSaid = [&] {
    std::string text = said;
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return "no NVIDIA driver: " + text;
  };
  CudaFunctions* cuda = nullptr;
  if (cuda_load_functions(&cuda, said) != 0) return lastSaid();
  driver.cuda.reset(cuda);
  NvencFunctions* library = nullptr;
  if (nvenc_load_functions(&library, said) != 0) return lastSaid();
  driver.library.reset(library);

  uint32_t version = 0;
  NVENCSTATUS status = library->NvEncodeAPIGetMaxSupportedVersion(&version);
  if (status != NV_ENC_SUCCESS) return "NvEncodeAPIGetMaxSupportedVersion: " + std::to_string(status);
  if (version < kWantedVersion) {
    return "the driver has NVENC " + versionText(version) + ", needed is " + versionText(kWantedVersion);
  }
  driver.major = version >> 4;
  driver.minor = version & 15;
  // A newer driver serves the version that a client names in each record.
  driver.nvenc.version = NV_ENCODE_API_FUNCTION_LIST_VER;
  status = library->NvEncodeAPICreateInstance(&driver.nvenc);
  if (status != NV_ENC_SUCCESS) return "NvEncodeAPICreateInstance: " + std::to_string(status);
  if (const CUresult code = cuda->cuInit(0); code != CUDA_SUCCESS) return cudaFailure(driver, "cuInit", code);
  return {};
}

const char* nameOf(NVENCSTATUS code) {
  static constexpr const char* kNames[] = {"NV_ENC_SUCCESS",
                                           "NV_ENC_ERR_NO_ENCODE_DEVICE",
                                           "NV_ENC_ERR_UNSUPPORTED_DEVICE",
                                           "NV_ENC_ERR_INVALID_ENCODERDEVICE",
                                           "NV_ENC_ERR_INVALID_DEVICE",
                                           "NV_ENC_ERR_DEVICE_NOT_EXIST",
                                           "NV_ENC_ERR_INVALID_PTR",
                                           "NV_ENC_ERR_INVALID_EVENT",
                                           "NV_ENC_ERR_INVALID_PARAM",
                                           "NV_ENC_ERR_INVALID_CALL",
                                           "NV_ENC_ERR_OUT_OF_MEMORY",
                                           "NV_ENC_ERR_ENCODER_NOT_INITIALIZED",
                                           "NV_ENC_ERR_UNSUPPORTED_PARAM",
                                           "NV_ENC_ERR_LOCK_BUSY",
                                           "NV_ENC_ERR_NOT_ENOUGH_BUFFER",
                                           "NV_ENC_ERR_INVALID_VERSION",
                                           "NV_ENC_ERR_MAP_FAILED",
                                           "NV_ENC_ERR_NEED_MORE_INPUT",
                                           "NV_ENC_ERR_ENCODER_BUSY",
                                           "NV_ENC_ERR_EVENT_NOT_REGISTERD",
                                           "NV_ENC_ERR_GENERIC",
                                           "NV_ENC_ERR_INCOMPATIBLE_CLIENT_KEY",
                                           "NV_ENC_ERR_UNIMPLEMENTED",
                                           "NV_ENC_ERR_RESOURCE_REGISTER_FAILED",
                                           "NV_ENC_ERR_RESOURCE_NOT_REGISTERED",
                                           "NV_ENC_ERR_RESOURCE_NOT_MAPPED"};
  const auto at = static_cast<size_t>(code);
  return at < std::size(kNames) ? kNames[at] : "an unknown status";
}

}  // namespace

void NvencDriver::Free::operator()(CudaFunctions* functions) const {
  cuda_free_functions(&functions);
}

void NvencDriver::Free::operator()(NvencFunctions* functions) const {
  nvenc_free_functions(&functions);
}

const NvencDriver* nvencDriver(std::string& problem) {
  static std::mutex lock;
  static std::unique_ptr<NvencDriver> loaded;
  const std::lock_guard hold(lock);
  problem.clear();
  if (loaded) return loaded.get();
  auto fresh = std::make_unique<NvencDriver>();
  problem = load(*fresh);
  if (problem.empty()) loaded = std::move(fresh);
  return loaded.get();
}

std::string cudaFailure(const NvencDriver& driver, const char* call, int code) {
  const char* name = nullptr;
  driver.cuda->cuGetErrorName(static_cast<CUresult>(code), &name);
  return std::string(call) + ": " + (name != nullptr ? name : "an unknown error") + " (" +
         std::to_string(code) + ")";
}

std::string nvencFailure(const NvencDriver& driver, void* encoder, const char* call, NVENCSTATUS code) {
  std::string text = std::string(call) + ": " + nameOf(code) + " (" + std::to_string(code) + ")";
  const char* words = encoder != nullptr ? driver.nvenc.nvEncGetLastErrorString(encoder) : nullptr;
  if (words != nullptr && *words != '\0') text += std::string(": ") + words;
  return text;
}

}  // namespace qvs::nvenc
