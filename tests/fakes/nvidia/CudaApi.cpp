// libcuda.so.1: devices, contexts, memory, streams, events.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Driver.h"

using qvs::fakes::Call;
using qvs::fakes::Driver;
using qvs::fakes::Stream;
using Needs = Call::Needs;

namespace {

Driver& driver() {
  return Driver::get();
}

/// A call by its plain name, left where it has a fault.
#define QVS_ENTER(...)          \
  const Call call(__VA_ARGS__); \
  if (call.code != CUDA_SUCCESS) return call.code

/// A call that releases.
#define QVS_RELEASE(name) \
  const Call call(name);  \
  if (call.context == nullptr) return call.code;

struct Attribute {
  int number;
  int value;
};

// Threads a block, shared memory a block, warp, clock, alignments, processors and such, as a card of the middle class.
constexpr Attribute kAttributes[] = {{1, 1024}, {8, 49152}, {10, 32}, {13, 1500000}, {14, 512}, {16, 28},
                                     {19, 1},   {31, 1},    {33, 1},  {36, 7000000}, {37, 192}, {39, 1536},
                                     {40, 2},   {41, 1},    {51, 32}, {115, 1}};

bool isDeviceNumber(CUdevice device) {
  return device >= 0 && device < driver().devices();
}

/// One side of a copy.
struct Side {
  uint64_t pointer;
  size_t pitch;
  bool device;
};

Side linear(CUdeviceptr pointer, size_t bytes) {
  return {pointer, bytes, driver().memory.isDevice(pointer)};
}

Side host(const void* pointer, size_t bytes) {
  return {reinterpret_cast<uint64_t>(pointer), bytes, false};
}

Side sideOf(CUmemorytype type, const void* hostPointer, CUdeviceptr pointer, size_t pitch, size_t x, size_t y,
            size_t width) {
  // The fourth type is either, by its address.
  const bool unified = static_cast<int>(type) == 4;
  const uint64_t start = type == CU_MEMORYTYPE_HOST ? reinterpret_cast<uint64_t>(hostPointer) : pointer;
  const size_t rows = pitch != 0 ? pitch : width;
  return {start + x + y * rows, rows,
          unified ? driver().memory.isDevice(start) : type == CU_MEMORYTYPE_DEVICE};
}

struct Copy {
  Side to, from;
  size_t width, height;

  size_t span(const Side& side) const { return side.pitch * (height - 1) + width; }
  bool fits(const Side& side) const {
    if (side.pointer == 0 || side.pitch < width) return false;
    return side.device ? driver().memory.holds(side.pointer, span(side))
                       : !driver().memory.isDevice(side.pointer);
  }
  uint8_t* at(const Side& side) const {
    return side.device ? driver().memory.bytesAt(side.pointer, span(side))
                       : reinterpret_cast<uint8_t*>(side.pointer);
  }
  bool run() const {
    uint8_t* target = at(to);
    const uint8_t* source = at(from);
    if (target == nullptr || source == nullptr) return false;
    for (size_t row = 0; row < height; ++row) {
      std::memmove(target + row * to.pitch, source + row * from.pitch, width);
    }
    return true;
  }
};

void countCopy(const Copy& copy) {
  Driver& gpu = driver();
  const uint64_t bytes = copy.width * copy.height;
  if (copy.to.device && copy.from.device) {
    ++gpu.deviceToDevice;
  } else if (copy.to.device) {
    ++gpu.hostToDevice;
    gpu.bytesHostToDevice += bytes;
  } else if (copy.from.device) {
    ++gpu.deviceToHost;
    gpu.bytesDeviceToHost += bytes;
  }
}

/// Queues work that answers false where the memory that it was given isn't there any more.
Stream::Point queueWork(CUcontext context, const std::shared_ptr<Stream>& queue, std::function<bool()> work) {
  return driver().push(context, queue, [context, work = std::move(work)] {
    if (context->dead == CUDA_SUCCESS && !work()) driver().kill(context, CUDA_ERROR_ILLEGAL_ADDRESS);
  });
}

/// As the vendor documents it: host memory that isn't page-locked is read before the call returns, or written by then;
/// what stays on the card is never waited for, what has the host on both sides always but in the forms with a stream.
CUresult copyOn(CUcontext context, CUstream stream, const Copy& copy, bool async) {
  if (copy.width == 0 || copy.height == 0) return CUDA_SUCCESS;
  if (!copy.fits(copy.to) || !copy.fits(copy.from)) return CUDA_ERROR_INVALID_VALUE;
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  countCopy(copy);
  const auto isPageable = [](const Side& side) {
    return !side.device && !driver().isPinned(reinterpret_cast<const void*>(side.pointer));
  };
  Stream::Point point;
  if (async && copy.to.device && isPageable(copy.from)) {
    auto staged = std::make_shared<std::vector<uint8_t>>(copy.span(copy.from));
    std::memcpy(staged->data(), reinterpret_cast<const void*>(copy.from.pointer), staged->size());
    Copy later = copy;
    later.from.pointer = reinterpret_cast<uint64_t>(staged->data());
    point = queueWork(context, queue, [later, staged] { return later.run(); });
  } else {
    point = queueWork(context, queue, [copy] { return copy.run(); });
  }
  const bool onCard = copy.to.device && copy.from.device;
  if (onCard || (async && !(copy.from.device && isPageable(copy.to)))) return CUDA_SUCCESS;
  ++driver().waits;
  driver().engine.wait(point);
  return context->dead;
}

CUresult copy2d(CUcontext context, const CUDA_MEMCPY2D* copy, CUstream stream, bool async) {
  if (copy == nullptr) return CUDA_ERROR_INVALID_VALUE;
  if (copy->srcMemoryType == CU_MEMORYTYPE_ARRAY || copy->dstMemoryType == CU_MEMORYTYPE_ARRAY) {
    return CUDA_ERROR_NOT_SUPPORTED;
  }
  const Side to = sideOf(copy->dstMemoryType, copy->dstHost, copy->dstDevice, copy->dstPitch,
                         copy->dstXInBytes, copy->dstY, copy->WidthInBytes);
  const Side from = sideOf(copy->srcMemoryType, copy->srcHost, copy->srcDevice, copy->srcPitch,
                           copy->srcXInBytes, copy->srcY, copy->WidthInBytes);
  return copyOn(context, stream, {to, from, copy->WidthInBytes, copy->Height}, async);
}

CUresult fill(CUcontext context, CUdeviceptr to, size_t pitch, uint8_t value, size_t width, size_t height,
              CUstream stream) {
  const Copy target{{to, pitch, true}, {}, width, height};
  if (width == 0 || height == 0) return CUDA_SUCCESS;
  if (!target.fits(target.to)) return CUDA_ERROR_INVALID_VALUE;
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  queueWork(context, queue, [=] {
    uint8_t* memory = target.at(target.to);
    for (size_t row = 0; memory != nullptr && row < height; ++row)
      std::memset(memory + row * pitch, value, width);
    return memory != nullptr;
  });
  return CUDA_SUCCESS;
}

CUresult allocate(CUdeviceptr* pointer, size_t bytes) {
  if (pointer == nullptr || bytes == 0) return CUDA_ERROR_INVALID_VALUE;
  *pointer = driver().allocate(bytes);
  return *pointer != 0 ? CUDA_SUCCESS : CUDA_ERROR_OUT_OF_MEMORY;
}

}  // namespace

QVS_API cuInit(unsigned) {
  QVS_ENTER("cuInit", Needs::kNothing);
  if (driver().devices() == 0) return CUDA_ERROR_NO_DEVICE;
  driver().initialized = true;
  return CUDA_SUCCESS;
}

QVS_API cuDriverGetVersion(int* version) {
  QVS_ENTER("cuDriverGetVersion", Needs::kNothing);
  *version = static_cast<int>(driver().setting("version", 12020));
  return CUDA_SUCCESS;
}

// Devices

QVS_API cuDeviceGetCount(int* count) {
  QVS_ENTER("cuDeviceGetCount", Needs::kInit);
  *count = driver().devices();
  return CUDA_SUCCESS;
}

QVS_API cuDeviceGet(CUdevice* device, int ordinal) {
  QVS_ENTER("cuDeviceGet", Needs::kInit);
  if (!isDeviceNumber(ordinal)) return CUDA_ERROR_INVALID_DEVICE;
  *device = ordinal;
  return CUDA_SUCCESS;
}

QVS_API cuDeviceGetName(char* name, int length, CUdevice device) {
  QVS_ENTER("cuDeviceGetName", Needs::kInit);
  if (!isDeviceNumber(device) || length <= 0) return CUDA_ERROR_INVALID_DEVICE;
  std::snprintf(name, static_cast<size_t>(length), "Emulated GPU %d", device);
  return CUDA_SUCCESS;
}

QVS_API cuDeviceGetUuid(CUuuid* uuid, CUdevice device) {
  QVS_ENTER("cuDeviceGetUuid", Needs::kInit);
  std::memset(uuid, device + 1, sizeof(*uuid));
  return CUDA_SUCCESS;
}

QVS_API cuDeviceGetAttribute(int* value, CUdevice_attribute attribute, CUdevice device) {
  QVS_ENTER("cuDeviceGetAttribute", Needs::kInit);
  if (!isDeviceNumber(device)) return CUDA_ERROR_INVALID_DEVICE;
  const int number = static_cast<int>(attribute);
  const auto* found = std::find_if(std::begin(kAttributes), std::end(kAttributes),
                                   [&](const Attribute& one) { return one.number == number; });
  *value = found != std::end(kAttributes) ? found->value : 0;
  if (number == CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MAJOR) *value = driver().capability() / 10;
  if (number == CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MINOR) *value = driver().capability() % 10;
  if (number == CU_DEVICE_ATTRIBUTE_MEMORY_POOLS_SUPPORTED)
    *value = static_cast<int>(driver().setting("pools", 1));
  return CUDA_SUCCESS;
}

QVS_API cuDeviceTotalMem_v2(size_t* bytes, CUdevice device) {
  QVS_ENTER("cuDeviceTotalMem", Needs::kInit);
  if (!isDeviceNumber(device)) return CUDA_ERROR_INVALID_DEVICE;
  *bytes = driver().memory.budget();
  return CUDA_SUCCESS;
}

QVS_API cuDeviceComputeCapability(int* major, int* minor, CUdevice device) {
  QVS_ENTER("cuDeviceComputeCapability", Needs::kInit);
  if (!isDeviceNumber(device)) return CUDA_ERROR_INVALID_DEVICE;
  *major = driver().capability() / 10;
  *minor = driver().capability() % 10;
  return CUDA_SUCCESS;
}

// Contexts

QVS_API cuCtxCreate_v2(CUcontext* context, unsigned, CUdevice device) {
  QVS_ENTER("cuCtxCreate", Needs::kInit);
  if (!isDeviceNumber(device)) return CUDA_ERROR_INVALID_DEVICE;
  *context = driver().createContext(device, false);
  return driver().push(*context);
}

QVS_API cuCtxDestroy_v2(CUcontext context) {
  const Call call("cuCtxDestroy", Needs::kInit);
  const CUresult code = driver().destroyContext(context);
  return call.code != CUDA_SUCCESS ? call.code : code;
}

QVS_API cuCtxPushCurrent_v2(CUcontext context) {
  QVS_ENTER("cuCtxPushCurrent", Needs::kInit);
  return driver().push(context);
}

QVS_API cuCtxPopCurrent_v2(CUcontext* context) {
  const Call call("cuCtxPopCurrent", Needs::kInit);
  const CUresult code = driver().pop(context);
  return call.code != CUDA_SUCCESS ? call.code : code;
}

QVS_API cuCtxGetCurrent(CUcontext* context) {
  QVS_ENTER("cuCtxGetCurrent", Needs::kInit);
  *context = driver().current();
  return CUDA_SUCCESS;
}

QVS_API cuCtxSetCurrent(CUcontext context) {
  QVS_ENTER("cuCtxSetCurrent", Needs::kInit);
  return driver().setCurrent(context);
}

QVS_API cuCtxGetDevice(CUdevice* device) {
  QVS_ENTER("cuCtxGetDevice");
  *device = call.context->device;
  return CUDA_SUCCESS;
}

QVS_API cuCtxSetLimit(CUlimit, size_t) {
  QVS_ENTER("cuCtxSetLimit");
  return CUDA_SUCCESS;
}

QVS_API cuCtxSynchronize() {
  QVS_ENTER("cuCtxSynchronize");
  ++driver().synchronisations;
  driver().waitFor(call.context);
  return call.context->dead;
}

QVS_API cuDevicePrimaryCtxRetain(CUcontext* context, CUdevice device) {
  QVS_ENTER("cuDevicePrimaryCtxRetain", Needs::kInit);
  return isDeviceNumber(device) ? driver().retainPrimary(context, device) : CUDA_ERROR_INVALID_DEVICE;
}

QVS_API cuDevicePrimaryCtxRelease_v2(CUdevice device) {
  const Call call("cuDevicePrimaryCtxRelease", Needs::kInit);
  const CUresult code = driver().releasePrimary(device);
  return call.code != CUDA_SUCCESS ? call.code : code;
}

#undef cuDevicePrimaryCtxRelease
QVS_API cuDevicePrimaryCtxRelease(CUdevice device) {
  return cuDevicePrimaryCtxRelease_v2(device);
}

QVS_API cuDevicePrimaryCtxSetFlags(CUdevice, unsigned) {
  QVS_ENTER("cuDevicePrimaryCtxSetFlags", Needs::kInit);
  return CUDA_SUCCESS;
}

QVS_API cuDevicePrimaryCtxGetState(CUdevice device, unsigned* flags, int* active) {
  QVS_ENTER("cuDevicePrimaryCtxGetState", Needs::kInit);
  const std::lock_guard hold(driver().lock);
  *flags = CU_CTX_SCHED_BLOCKING_SYNC;
  *active = driver().primaries.contains(device);
  return CUDA_SUCCESS;
}

// Memory

QVS_API cuMemGetInfo_v2(size_t* free, size_t* total) {
  QVS_ENTER("cuMemGetInfo");
  *total = driver().memory.budget();
  *free = *total - static_cast<size_t>(driver().memory.bytes());
  return CUDA_SUCCESS;
}

QVS_API cuMemAlloc_v2(CUdeviceptr* pointer, size_t bytes) {
  QVS_ENTER("cuMemAlloc");
  return allocate(pointer, bytes);
}

QVS_API cuMemAllocPitch_v2(CUdeviceptr* pointer, size_t* pitch, size_t width, size_t height,
                           unsigned element) {
  QVS_ENTER("cuMemAllocPitch");
  if (element != 4 && element != 8 && element != 16) return CUDA_ERROR_INVALID_VALUE;
  *pitch = (width + 511) / 512 * 512;
  return allocate(pointer, *pitch * height);
}

QVS_API cuMemFree_v2(CUdeviceptr pointer) {
  QVS_RELEASE("cuMemFree");
  const CUresult code = driver().free(pointer);
  return call.code != CUDA_SUCCESS ? call.code : code;
}

QVS_API cuMemAllocAsync(CUdeviceptr* pointer, size_t bytes, CUstream stream) {
  QVS_ENTER("cuMemAllocAsync");
  std::shared_ptr<Stream> queue;
  if (driver().setting("pools", 1) == 0) return CUDA_ERROR_NOT_SUPPORTED;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  if (pointer == nullptr || bytes == 0) return CUDA_ERROR_INVALID_VALUE;
  const uint64_t made = driver().memory.allocate(bytes, call.context, false);
  if (made == 0) return CUDA_ERROR_OUT_OF_MEMORY;
  driver().opened("memory");
  driver().push(call.context, queue, [made] { driver().memory.makeReady(made); });
  *pointer = made;
  return CUDA_SUCCESS;
}

QVS_API cuMemFreeAsync(CUdeviceptr pointer, CUstream stream) {
  QVS_RELEASE("cuMemFreeAsync");
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  if (!driver().memory.announceEnd(pointer)) return CUDA_ERROR_INVALID_VALUE;
  driver().push(call.context, queue, [pointer] {
    driver().memory.free(pointer);
    driver().closed("memory");
  });
  return call.code;
}

QVS_API cuMemAllocHost_v2(void** pointer, size_t bytes) {
  QVS_ENTER("cuMemAllocHost");
  *pointer = bytes != 0 ? std::aligned_alloc(4096, (bytes + 4095) / 4096 * 4096) : nullptr;
  if (*pointer == nullptr) return bytes != 0 ? CUDA_ERROR_OUT_OF_MEMORY : CUDA_ERROR_INVALID_VALUE;
  driver().pinned(*pointer, bytes);
  return CUDA_SUCCESS;
}

QVS_API cuMemFreeHost(void* pointer) {
  QVS_RELEASE("cuMemFreeHost");
  driver().waitFor(call.context);
  if (!driver().unpin(pointer)) return CUDA_ERROR_INVALID_VALUE;
  std::free(pointer);
  return call.code;
}

QVS_API cuDeviceGetDefaultMemPool(CUmemoryPool* pool, CUdevice device) {
  QVS_ENTER("cuDeviceGetDefaultMemPool", Needs::kInit);
  if (!isDeviceNumber(device)) return CUDA_ERROR_INVALID_DEVICE;
  *pool = reinterpret_cast<CUmemoryPool>(static_cast<intptr_t>(device) + 1);
  return CUDA_SUCCESS;
}

QVS_API cuMemPoolSetAttribute(CUmemoryPool pool, CUmemPool_attribute, void* value) {
  QVS_ENTER("cuMemPoolSetAttribute", Needs::kInit);
  return pool != nullptr && value != nullptr ? CUDA_SUCCESS : CUDA_ERROR_INVALID_VALUE;
}

QVS_API cuMemPoolTrimTo(CUmemoryPool pool, size_t) {
  QVS_ENTER("cuMemPoolTrimTo", Needs::kInit);
  return pool != nullptr ? CUDA_SUCCESS : CUDA_ERROR_INVALID_VALUE;
}

// Copies: name, parameters, the two sides, bytes, stream, whether in the form with a stream.
// clang-format off
#define QVS_COPIES(X)                                                                                              \
  X(cuMemcpy, "cuMemcpy", (CUdeviceptr to, CUdeviceptr from, size_t n), linear(to, n), linear(from, n), nullptr, false) \
  X(cuMemcpyAsync, "cuMemcpyAsync", (CUdeviceptr to, CUdeviceptr from, size_t n, CUstream s), linear(to, n), linear(from, n), s, true) \
  X(cuMemcpyHtoD_v2, "cuMemcpyHtoD", (CUdeviceptr to, const void* from, size_t n), linear(to, n), host(from, n), nullptr, false) \
  X(cuMemcpyHtoDAsync_v2, "cuMemcpyHtoDAsync", (CUdeviceptr to, const void* from, size_t n, CUstream s), linear(to, n), host(from, n), s, true) \
  X(cuMemcpyDtoH_v2, "cuMemcpyDtoH", (void* to, CUdeviceptr from, size_t n), host(to, n), linear(from, n), nullptr, false) \
  X(cuMemcpyDtoHAsync_v2, "cuMemcpyDtoHAsync", (void* to, CUdeviceptr from, size_t n, CUstream s), host(to, n), linear(from, n), s, true) \
  X(cuMemcpyDtoD_v2, "cuMemcpyDtoD", (CUdeviceptr to, CUdeviceptr from, size_t n), linear(to, n), linear(from, n), nullptr, false) \
  X(cuMemcpyDtoDAsync_v2, "cuMemcpyDtoDAsync", (CUdeviceptr to, CUdeviceptr from, size_t n, CUstream s), linear(to, n), linear(from, n), s, true)
// clang-format on

/// Where the name says that a side is the card's, an address of the host's is wrong.
static bool isAsNamed(const std::string& name, const Side& to, const Side& from) {
  return (name.find("toD") == std::string::npos || to.device) &&
         (name.find("Dto") == std::string::npos || from.device);
}

#define QVS_DEFINE(symbol, name, parameters, target, source, stream, async)    \
  QVS_API symbol parameters {                                                  \
    QVS_ENTER(name);                                                           \
    const Copy copy{target, source, n, 1};                                     \
    if (!isAsNamed(name, copy.to, copy.from)) return CUDA_ERROR_INVALID_VALUE; \
    return copyOn(call.context, stream, copy, async);                          \
  }
QVS_COPIES(QVS_DEFINE)

QVS_API cuMemcpy2D_v2(const CUDA_MEMCPY2D* copy) {
  QVS_ENTER("cuMemcpy2D");
  return copy2d(call.context, copy, nullptr, false);
}

QVS_API cuMemcpy2DAsync_v2(const CUDA_MEMCPY2D* copy, CUstream stream) {
  QVS_ENTER("cuMemcpy2DAsync");
  return copy2d(call.context, copy, stream, true);
}

QVS_API cuMemsetD8Async(CUdeviceptr to, unsigned char value, size_t bytes, CUstream stream) {
  QVS_ENTER("cuMemsetD8Async");
  return fill(call.context, to, bytes, value, bytes, 1, stream);
}

QVS_API cuMemsetD2D8Async(CUdeviceptr to, size_t pitch, unsigned char value, size_t width, size_t height,
                          CUstream stream) {
  QVS_ENTER("cuMemsetD2D8Async");
  return fill(call.context, to, pitch, value, width, height, stream);
}

// Streams

QVS_API cuStreamCreate(CUstream* stream, unsigned flags) {
  QVS_ENTER("cuStreamCreate");
  *stream = new CUstream_st{call.context, flags, driver().engine.make()};
  driver().opened("stream");
  const std::lock_guard hold(driver().lock);
  driver().streams.insert(*stream);
  return CUDA_SUCCESS;
}

QVS_API cuStreamDestroy_v2(CUstream stream) {
  QVS_RELEASE("cuStreamDestroy");
  {
    const std::lock_guard hold(driver().lock);
    if (driver().streams.erase(stream) == 0) return CUDA_ERROR_INVALID_HANDLE;
  }
  driver().engine.drop(stream->queue);
  driver().closed("stream");
  delete stream;
  return call.code;
}

QVS_API cuStreamGetFlags(CUstream stream, unsigned* flags) {
  QVS_ENTER("cuStreamGetFlags");
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  *flags = queue == call.context->legacy ? 0 : stream->flags;
  return CUDA_SUCCESS;
}

QVS_API cuStreamQuery(CUstream stream) {
  QVS_ENTER("cuStreamQuery");
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  return driver().engine.isReached(driver().engine.end(queue)) ? CUDA_SUCCESS : CUDA_ERROR_NOT_READY;
}

QVS_API cuStreamSynchronize(CUstream stream) {
  QVS_ENTER("cuStreamSynchronize");
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  ++driver().synchronisations;
  // For the stream without a handle this takes all others in.
  if (queue == call.context->legacy) driver().push(call.context, queue, [] {});
  driver().engine.wait(driver().engine.end(queue));
  return call.context->dead;
}

QVS_API cuStreamWaitEvent(CUstream stream, CUevent event, unsigned) {
  QVS_ENTER("cuStreamWaitEvent");
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  if (!driver().isLive(driver().events, event)) return CUDA_ERROR_INVALID_HANDLE;
  if (event->record != nullptr) driver().push(call.context, queue, [] {}, {event->record->point});
  return CUDA_SUCCESS;
}

QVS_API cuStreamAddCallback(CUstream stream, CUstreamCallback* callback, void* user, unsigned) {
  QVS_ENTER("cuStreamAddCallback");
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  driver().push(call.context, queue, [=, context = call.context] { callback(stream, context->dead, user); });
  return CUDA_SUCCESS;
}

// Events

QVS_API cuEventCreate(CUevent* event, unsigned) {
  QVS_ENTER("cuEventCreate");
  *event = new CUevent_st{call.context, nullptr};
  driver().opened("event");
  const std::lock_guard hold(driver().lock);
  driver().events.insert(*event);
  return CUDA_SUCCESS;
}

QVS_API cuEventDestroy_v2(CUevent event) {
  QVS_RELEASE("cuEventDestroy");
  {
    const std::lock_guard hold(driver().lock);
    if (driver().events.erase(event) == 0) return CUDA_ERROR_INVALID_HANDLE;
  }
  driver().closed("event");
  delete event;
  return call.code;
}

QVS_API cuEventRecord(CUevent event, CUstream stream) {
  QVS_ENTER("cuEventRecord");
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  if (!driver().isLive(driver().events, event) || event->context != call.context)
    return CUDA_ERROR_INVALID_HANDLE;
  auto record = std::make_shared<CUevent_st::Record>();
  record->point =
      driver().push(call.context, queue, [record] { record->time = std::chrono::steady_clock::now(); });
  event->record = record;
  return CUDA_SUCCESS;
}

QVS_API cuEventQuery(CUevent event) {
  QVS_ENTER("cuEventQuery");
  if (!driver().isLive(driver().events, event)) return CUDA_ERROR_INVALID_HANDLE;
  const bool reached = event->record == nullptr || driver().engine.isReached(event->record->point);
  return reached ? CUDA_SUCCESS : CUDA_ERROR_NOT_READY;
}

QVS_API cuEventSynchronize(CUevent event) {
  QVS_ENTER("cuEventSynchronize");
  if (!driver().isLive(driver().events, event)) return CUDA_ERROR_INVALID_HANDLE;
  ++driver().synchronisations;
  if (event->record != nullptr) driver().engine.wait(event->record->point);
  return call.context->dead;
}

QVS_API cuEventElapsedTime(float* milliseconds, CUevent start, CUevent end) {
  QVS_ENTER("cuEventElapsedTime");
  for (const CUevent event : {start, end}) {
    if (!driver().isLive(driver().events, event) || event->record == nullptr)
      return CUDA_ERROR_INVALID_HANDLE;
    if (!driver().engine.isReached(event->record->point)) return CUDA_ERROR_NOT_READY;
  }
  *milliseconds = std::chrono::duration<float, std::milli>(end->record->time - start->record->time).count();
  return CUDA_SUCCESS;
}

// Texts

QVS_API cuGetErrorName(CUresult error, const char** text) {
  static constexpr struct {
    int code;
    const char* name;
  } kNames[] = {{0, "CUDA_SUCCESS"},
                {1, "CUDA_ERROR_INVALID_VALUE"},
                {2, "CUDA_ERROR_OUT_OF_MEMORY"},
                {3, "CUDA_ERROR_NOT_INITIALIZED"},
                {100, "CUDA_ERROR_NO_DEVICE"},
                {101, "CUDA_ERROR_INVALID_DEVICE"},
                {201, "CUDA_ERROR_INVALID_CONTEXT"},
                {400, "CUDA_ERROR_INVALID_HANDLE"},
                {500, "CUDA_ERROR_NOT_FOUND"},
                {700, "CUDA_ERROR_ILLEGAL_ADDRESS"},
                {801, "CUDA_ERROR_NOT_SUPPORTED"},
                {999, "CUDA_ERROR_UNKNOWN"}};
  for (const auto& row : kNames) {
    *text = row.name;
    if (row.code == static_cast<int>(error)) return CUDA_SUCCESS;
  }
  return CUDA_ERROR_INVALID_VALUE;
}

QVS_API cuGetErrorString(CUresult error, const char** text) {
  return cuGetErrorName(error, text);
}
