// libcudawrapper.so: the functions of the vendor's libraries, handed on to those of the machine.
#include "cudawrapper.h"

#include <dlfcn.h>

#include "cuda.h"
#include "cuda_runtime_api.h"
#include "nvcuvid.h"

#define QVS_EXPORT __attribute__((visibility("default")))

namespace {

/// Null where the library is missing. Never closed.
void* openLibrary(const char* name) {
  return dlopen(name, RTLD_NOW | RTLD_LOCAL);
}

template <typename Function>
bool resolve(void* library, const char* name, Function& function) {
  function = library != nullptr ? reinterpret_cast<Function>(dlsym(library, name)) : nullptr;
  return function != nullptr;
}

#define QVS_MEMBER(name, parameters, arguments) CUresult(*name) parameters = nullptr;
#define QVS_RESOLVE(name, parameters, arguments) \
  isComplete = resolve(library, #name, this->name) && isComplete;

/// A driver may be older than some of the functions.
struct Driver {
  Driver() { QVS_CUDA_DRIVER_FUNCTIONS(QVS_RESOLVE) }
  void* library = openLibrary("libcuda.so.1");
  bool isComplete = true;
  QVS_CUDA_DRIVER_FUNCTIONS(QVS_MEMBER)
};

struct Nvcuvid {
  Nvcuvid() { QVS_NVCUVID_FUNCTIONS(QVS_RESOLVE) }
  void* library = openLibrary("libnvcuvid.so.1");
  bool isComplete = true;
  QVS_NVCUVID_FUNCTIONS(QVS_MEMBER)
};

#undef QVS_RESOLVE
#undef QVS_MEMBER

template <typename Library>
const Library& loaded() {
  static const Library library;
  return library;
}

/// What a function that isn't there answers.
CUresult missing(const Driver& driver) {
  return driver.library == nullptr ? CUDA_ERROR_NO_DEVICE : CUDA_ERROR_NOT_SUPPORTED;
}

CUresult missing(const Nvcuvid&) {
  return CUDA_ERROR_NOT_FOUND;
}

cudaError_t runtime(CUresult code) {
  return static_cast<cudaError_t>(code);
}

}  // namespace

extern "C" {

#define QVS_HAND_ON(library, name, parameters, arguments)           \
  QVS_EXPORT CUresult name parameters {                             \
    const library& own = loaded<library>();                         \
    return own.name != nullptr ? own.name arguments : missing(own); \
  }
#define QVS_DRIVER(name, parameters, arguments) QVS_HAND_ON(Driver, name, parameters, arguments)
#define QVS_NVCUVID(name, parameters, arguments) QVS_HAND_ON(Nvcuvid, name, parameters, arguments)
QVS_CUDA_DRIVER_FUNCTIONS(QVS_DRIVER)
QVS_NVCUVID_FUNCTIONS(QVS_NVCUVID)

QVS_EXPORT cudaError_t cudaDeviceGetAttribute(int* value, cudaDeviceAttr attribute, int device) {
  CUdevice handle = 0;
  const CUresult code = cuDeviceGet(&handle, device);
  return runtime(code != CUDA_SUCCESS
                     ? code
                     : cuDeviceGetAttribute(value, static_cast<CUdevice_attribute>(attribute), handle));
}

QVS_EXPORT cudaError_t cudaMallocAsync(void** pointer, size_t bytes, cudaStream_t stream) {
  CUdeviceptr memory = 0;
  const CUresult code = cuMemAllocAsync(&memory, bytes, stream);
  if (code == CUDA_SUCCESS) *pointer = reinterpret_cast<void*>(memory);
  return runtime(code);
}

QVS_EXPORT cudaError_t cudaFreeAsync(void* pointer, cudaStream_t stream) {
  return runtime(cuMemFreeAsync(reinterpret_cast<CUdeviceptr>(pointer), stream));
}

QVS_EXPORT int cudaWrapperHasDriver() {
  return loaded<Driver>().library != nullptr;
}

QVS_EXPORT int cudaWrapperHasNvcuvid() {
  return loaded<Nvcuvid>().isComplete;
}

}  // extern "C"
