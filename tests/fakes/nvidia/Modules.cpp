// libcuda.so.1: modules of kernels. The names are those of the PTX text; what runs is the host form of the same source.
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "Driver.h"

using qvs::HostConstant;
using qvs::HostKernel;
using qvs::fakes::Call;
using qvs::fakes::Driver;
using qvs::fakes::Stream;

namespace {

constexpr CUresult kNoBinaryForDevice = static_cast<CUresult>(209);
constexpr CUresult kInvalidPtx = static_cast<CUresult>(218);

struct HostForms {
  const std::vector<HostKernel>* kernels = nullptr;
  const std::vector<HostConstant>* constants = nullptr;
};

/// Those of the library beside this one; none where it isn't there.
const HostForms& hostForms() {
  static const HostForms forms = [] {
    HostForms found;
    Dl_info self{};
    dladdr(reinterpret_cast<const void*>(&hostForms), &self);
    std::string path = self.dli_fname;
    path = path.substr(0, path.rfind('/') + 1) + "libqvs-host-kernels.so";
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
      std::fprintf(stderr, "emulated card: %s\n", dlerror());
      return found;
    }
    const auto read =
        reinterpret_cast<void (*)(const std::vector<HostKernel>**, const std::vector<HostConstant>**)>(
            dlsym(library, "qvsHostKernels"));
    read(&found.kernels, &found.constants);
    return found;
  }();
  return forms;
}

template <typename Form>
const Form* findForm(const std::vector<Form>* forms, const std::string& name) {
  if (forms == nullptr) return nullptr;
  const auto found =
      std::find_if(forms->begin(), forms->end(), [&](const Form& form) { return form.name == name; });
  return found != forms->end() ? &*found : nullptr;
}

std::string wordAt(const char* at) {
  return {at, std::strcspn(at, "([ \t\r\n;")};
}

std::vector<std::string> entriesOf(const char* ptx) {
  std::vector<std::string> names;
  constexpr const char* kMark = ".entry ";
  for (const char* at = ptx; (at = std::strstr(at, kMark)) != nullptr;) {
    at += std::strlen(kMark);
    names.push_back(wordAt(at));
  }
  return names;
}

/// Constants are card memory that is copied to the host form before each launch.
bool takeConstants(CUmod_st& module, const char* ptx) {
  if (hostForms().constants == nullptr) return true;
  for (const HostConstant& constant : *hostForms().constants) {
    const std::string declaration =
        std::string(" ") + constant.name + "[" + std::to_string(constant.bytes) + "]";
    if (std::strstr(ptx, declaration.c_str()) == nullptr) continue;
    const uint64_t pointer = Driver::get().memory.allocate(constant.bytes, module.context, true, false);
    if (pointer == 0) return false;
    std::memset(Driver::get().memory.bytesAt(pointer, constant.bytes), 0, constant.bytes);
    module.constants[constant.name] = {pointer, constant};
  }
  return true;
}

void* translate(uint64_t pointer) {
  return Driver::get().memory.bytesAt(pointer, 1);
}

/// A launch's own copy of its parameters: the caller's are gone when it runs.
struct Launch {
  const HostKernel* kernel;
  qvs::HostGrid grid;
  std::vector<uint8_t> bytes;
  std::vector<CUmod_st::Constant> constants;

  Launch(const CUfunc_st& function, const qvs::HostGrid& blocks, void* const* parameters)
      : kernel(function.host), grid(blocks) {
    for (size_t i = 0; i < kernel->parameterCount; ++i) {
      const auto* from = static_cast<const uint8_t*>(parameters[i]);
      bytes.insert(bytes.end(), from, from + kernel->parameterSizes[i]);
    }
    for (const auto& [name, constant] : function.module->constants) constants.push_back(constant);
  }

  bool run() {
    for (const auto& [pointer, host] : constants) {
      const uint8_t* from = Driver::get().memory.bytesAt(pointer, host.bytes);
      if (from == nullptr) return false;
      std::memcpy(host.data, from, host.bytes);
    }
    std::vector<void*> parameters;
    uint8_t* at = bytes.data();
    for (size_t i = 0; i < kernel->parameterCount; ++i) {
      parameters.push_back(at);
      at += kernel->parameterSizes[i];
    }
    return kernel->launch(parameters.data(), grid, &translate);
  }
};

}  // namespace

QVS_API cuModuleLoadData(CUmodule* module, const void* image) {
  const Call call("cuModuleLoadData");
  if (call.code != CUDA_SUCCESS) return call.code;
  const auto* text = static_cast<const char*>(image);
  if (text == nullptr) return CUDA_ERROR_INVALID_VALUE;
  // Compiled images begin with the mark of ELF or of the vendor's container.
  if (text[0] == 0x7f || std::strncmp(text, "\x50\xed\x55\xba", 4) == 0) return CUDA_ERROR_INVALID_IMAGE;
  const char* target = std::strstr(text, ".target sm_");
  if (std::strstr(text, ".version") == nullptr || target == nullptr) return kInvalidPtx;
  if (std::atoi(target + std::strlen(".target sm_")) > Driver::get().capability()) return kNoBinaryForDevice;
  auto made = std::make_unique<CUmod_st>();
  made->context = call.context;
  made->entries = entriesOf(text);
  if (!takeConstants(*made, text)) return CUDA_ERROR_OUT_OF_MEMORY;
  Driver::get().opened("module");
  const std::lock_guard hold(Driver::get().lock);
  *module = made.release();
  Driver::get().modules.insert(*module);
  return CUDA_SUCCESS;
}

QVS_API cuModuleUnload(CUmodule module) {
  const Call call("cuModuleUnload");
  if (call.context == nullptr) return call.code;
  Driver& gpu = Driver::get();
  gpu.waitFor(call.context);
  {
    const std::lock_guard hold(gpu.lock);
    if (gpu.modules.erase(module) == 0) return CUDA_ERROR_INVALID_HANDLE;
  }
  for (const auto& [name, constant] : module->constants) gpu.memory.free(constant.pointer);
  gpu.closed("module");
  delete module;
  return call.code;
}

QVS_API cuModuleGetFunction(CUfunction* function, CUmodule module, const char* name) {
  const Call call("cuModuleGetFunction");
  if (call.code != CUDA_SUCCESS) return call.code;
  if (!Driver::get().isLive(Driver::get().modules, module)) return CUDA_ERROR_INVALID_HANDLE;
  if (std::find(module->entries.begin(), module->entries.end(), name) == module->entries.end()) {
    return CUDA_ERROR_NOT_FOUND;
  }
  auto& made = module->functions[name];
  if (made == nullptr) made.reset(new CUfunc_st{module, findForm(hostForms().kernels, name)});
  *function = made.get();
  return CUDA_SUCCESS;
}

QVS_API cuModuleGetGlobal_v2(CUdeviceptr* pointer, size_t* bytes, CUmodule module, const char* name) {
  const Call call("cuModuleGetGlobal");
  if (call.code != CUDA_SUCCESS) return call.code;
  if (!Driver::get().isLive(Driver::get().modules, module)) return CUDA_ERROR_INVALID_HANDLE;
  const auto found = module->constants.find(name);
  if (found == module->constants.end()) return CUDA_ERROR_NOT_FOUND;
  if (pointer != nullptr) *pointer = found->second.pointer;
  if (bytes != nullptr) *bytes = found->second.host.bytes;
  return CUDA_SUCCESS;
}

#undef cuModuleGetGlobal
QVS_API cuModuleGetGlobal(CUdeviceptr* pointer, size_t* bytes, CUmodule module, const char* name) {
  return cuModuleGetGlobal_v2(pointer, bytes, module, name);
}

QVS_API cuLaunchKernel(CUfunction function, unsigned gridX, unsigned gridY, unsigned gridZ, unsigned blockX,
                       unsigned blockY, unsigned blockZ, unsigned, CUstream stream, void** parameters,
                       void**) {
  const Call call("cuLaunchKernel");
  if (call.code != CUDA_SUCCESS) return call.code;
  Driver& gpu = Driver::get();
  if (function == nullptr) return CUDA_ERROR_INVALID_HANDLE;
  if (function->host == nullptr) {
    std::fprintf(stderr, "emulated card: a kernel without its host form\n");
    return CUDA_ERROR_NOT_SUPPORTED;
  }
  const uint64_t threads = uint64_t{blockX} * blockY * blockZ;
  if (threads == 0 || threads > 1024 || gridX == 0 || gridY == 0 || gridY > 65535 || gridZ != 1 ||
      blockZ != 1 || parameters == nullptr) {
    return CUDA_ERROR_INVALID_VALUE;
  }
  std::shared_ptr<Stream> queue;
  if (const CUresult code = gpu.queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  if (function->module->context != call.context) return CUDA_ERROR_INVALID_HANDLE;
  ++gpu.launches;
  auto launch = std::make_shared<Launch>(*function, qvs::HostGrid{gridX, gridY, blockX, blockY}, parameters);
  gpu.push(call.context, queue, [launch, context = call.context] {
    if (context->dead == CUDA_SUCCESS && !launch->run())
      Driver::get().kill(context, CUDA_ERROR_ILLEGAL_ADDRESS);
  });
  return CUDA_SUCCESS;
}
