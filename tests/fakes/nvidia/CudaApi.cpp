// libcuda.so.1: devices, contexts, memory, streams, events.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Driver.h"

using qvs::fakes::Call;
using qvs::fakes::Driver;
using qvs::fakes::Stream;

namespace {

Driver& driver() {
  return Driver::get();
}

struct Attribute {
  int number;
  int value;
};

// Threads a block, shared memory a block, warp, clock, alignments, processors and such, as a card of the middle class.
constexpr Attribute kAttributes[] = {{1, 1024}, {8, 49152}, {10, 32}, {13, 1500000}, {14, 512}, {16, 28},
                                     {19, 1},   {31, 1},    {33, 1},  {36, 7000000}, {37, 192}, {39, 1536},
                                     {40, 2},   {41, 1},    {51, 32}, {115, 1}};

bool isDevice(CUdevice device) {
  return device >= 0 && device < driver().devices();
}

int attributeOf(int number) {
  if (number == CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MAJOR) return driver().capability() / 10;
  if (number == CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MINOR) return driver().capability() % 10;
  if (number == CU_DEVICE_ATTRIBUTE_MEMORY_POOLS_SUPPORTED)
    return static_cast<int>(driver().setting("pools", 1));
  const auto* found = std::find_if(std::begin(kAttributes), std::end(kAttributes),
                                   [&](const Attribute& one) { return one.number == number; });
  return found != std::end(kAttributes) ? found->value : 0;
}

template <typename To, typename Value>
CUresult give(To* to, Value value) {
  *to = static_cast<To>(value);
  return CUDA_SUCCESS;
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

CUresult fill(CUcontext context, CUdeviceptr to, size_t bytes, uint8_t value, CUstream stream) {
  if (!driver().memory.holds(to, bytes)) return CUDA_ERROR_INVALID_VALUE;
  std::shared_ptr<Stream> queue;
  if (const CUresult code = driver().queueOf(stream, &queue); code != CUDA_SUCCESS) return code;
  queueWork(context, queue, [=] {
    uint8_t* memory = driver().memory.bytesAt(to, bytes);
    if (memory != nullptr) std::memset(memory, value, bytes);
    return memory != nullptr;
  });
  return CUDA_SUCCESS;
}

CUresult allocate(CUdeviceptr* pointer, size_t bytes) {
  if (pointer == nullptr || bytes == 0) return CUDA_ERROR_INVALID_VALUE;
  *pointer = driver().allocate(bytes);
  return *pointer != 0 ? CUDA_SUCCESS : CUDA_ERROR_OUT_OF_MEMORY;
}

CUresult allocatePitched(CUdeviceptr* pointer, size_t* pitch, size_t width, size_t height, unsigned element) {
  if (element != 4 && element != 8 && element != 16) return CUDA_ERROR_INVALID_VALUE;
  *pitch = (width + 511) / 512 * 512;
  return allocate(pointer, *pitch * height);
}

/// Does what `work(queue)` says on the queue of a stream.
template <typename Work>
CUresult onQueue(CUstream stream, Work work) {
  std::shared_ptr<Stream> queue;
  const CUresult code = driver().queueOf(stream, &queue);
  return code == CUDA_SUCCESS ? work(queue) : code;
}

CUresult allocateLater(CUcontext context, CUdeviceptr* pointer, size_t bytes, CUstream stream) {
  if (driver().setting("pools", 1) == 0) return CUDA_ERROR_NOT_SUPPORTED;
  if (pointer == nullptr || bytes == 0) return CUDA_ERROR_INVALID_VALUE;
  return onQueue(stream, [&](const auto& queue) {
    const uint64_t made = driver().memory.allocate(bytes, context, false);
    if (made == 0) return CUDA_ERROR_OUT_OF_MEMORY;
    driver().opened("memory");
    driver().push(context, queue, [made] { driver().memory.makeReady(made); });
    return give(pointer, made);
  });
}

CUresult freeLater(CUcontext context, CUdeviceptr pointer, CUstream stream) {
  return onQueue(stream, [&](const auto& queue) {
    if (!driver().memory.announceEnd(pointer)) return CUDA_ERROR_INVALID_VALUE;
    driver().push(context, queue, [pointer] {
      driver().memory.free(pointer);
      driver().closed("memory");
    });
    return CUDA_SUCCESS;
  });
}

CUresult allocatePinned(void** pointer, size_t bytes) {
  *pointer = bytes != 0 ? std::aligned_alloc(4096, (bytes + 4095) / 4096 * 4096) : nullptr;
  if (*pointer == nullptr) return bytes != 0 ? CUDA_ERROR_OUT_OF_MEMORY : CUDA_ERROR_INVALID_VALUE;
  driver().pinned(*pointer, bytes);
  return CUDA_SUCCESS;
}

CUresult freePinned(CUcontext context, void* pointer) {
  driver().waitFor(context);
  if (!driver().unpin(pointer)) return CUDA_ERROR_INVALID_VALUE;
  std::free(pointer);
  return CUDA_SUCCESS;
}

CUresult primaryState(CUdevice device, unsigned* flags, int* active) {
  const std::lock_guard hold(driver().lock);
  give(flags, CU_CTX_SCHED_BLOCKING_SYNC);
  return give(active, driver().primaries.contains(device));
}

template <typename Handle>
CUresult keep(std::set<Handle>& handles, const char* kind, Handle* to, Handle made) {
  const std::lock_guard hold(driver().lock);
  handles.insert(made);
  driver().opened(kind);
  return give(to, made);
}

template <typename Handle>
CUresult end(std::set<Handle>& handles, const char* kind, Handle handle) {
  {
    const std::lock_guard hold(driver().lock);
    if (handles.erase(handle) == 0) return CUDA_ERROR_INVALID_HANDLE;
  }
  if constexpr (std::is_same_v<Handle, CUstream>) driver().engine.drop(handle->queue);
  driver().closed(kind);
  delete handle;
  return CUDA_SUCCESS;
}

CUresult synchronizeContext(CUcontext context) {
  ++driver().synchronisations;
  driver().waitFor(context);
  return context->dead;
}

CUresult synchronize(CUcontext context, CUstream stream) {
  return onQueue(stream, [&](const auto& queue) -> CUresult {
    ++driver().synchronisations;
    // For the stream without a handle this takes all others in.
    if (queue == context->legacy) driver().push(context, queue, [] {});
    driver().engine.wait(driver().engine.end(queue));
    return context->dead;
  });
}

CUresult waitForEvent(CUcontext context, CUstream stream, CUevent event) {
  return onQueue(stream, [&](const auto& queue) {
    if (!driver().isLive(driver().events, event)) return CUDA_ERROR_INVALID_HANDLE;
    if (event->record != nullptr) driver().push(context, queue, [] {}, {event->record->point});
    return CUDA_SUCCESS;
  });
}

CUresult record(CUcontext context, CUevent event, CUstream stream) {
  return onQueue(stream, [&](const auto& queue) {
    if (!driver().isLive(driver().events, event) || event->context != context)
      return CUDA_ERROR_INVALID_HANDLE;
    auto made = std::make_shared<CUevent_st::Record>();
    made->point = driver().push(context, queue, [made] { made->time = std::chrono::steady_clock::now(); });
    event->record = made;
    return CUDA_SUCCESS;
  });
}

/// Whether it has been reached, after waiting for it where that is asked for.
CUresult stateOf(CUcontext context, CUevent event, bool wait) {
  if (!driver().isLive(driver().events, event)) return CUDA_ERROR_INVALID_HANDLE;
  if (wait) ++driver().synchronisations;
  if (event->record == nullptr) return CUDA_SUCCESS;
  if (wait) driver().engine.wait(event->record->point);
  return driver().engine.isReached(event->record->point) ? context->dead.load() : CUDA_ERROR_NOT_READY;
}

CUresult elapsed(CUcontext context, float* milliseconds, CUevent start, CUevent end) {
  for (const CUevent event : {start, end}) {
    if (const CUresult code = stateOf(context, event, false); code != CUDA_SUCCESS) return code;
    if (event->record == nullptr) return CUDA_ERROR_INVALID_HANDLE;
  }
  return give(milliseconds,
              std::chrono::duration<float, std::milli>(end->record->time - start->record->time).count());
}

/// Where the name says that a side is the card's, an address of the host's is wrong.
CUresult copyAsNamed(CUcontext context, const std::string& name, Side to, Side from, size_t bytes,
                     CUstream stream) {
  const bool wrong = (name.find("toD") != std::string::npos && !to.device) ||
                     (name.find("Dto") != std::string::npos && !from.device);
  if (wrong) return CUDA_ERROR_INVALID_VALUE;
  return copyOn(context, stream, {to, from, bytes, 1}, name.ends_with("Async"));
}

}  // namespace

// Name in the library, name in scripts, parameters, what there has to be, answer.
// clang-format off
#define QVS_CALLS(X)                                                                                                \
  X(cuInit, "cuInit", (unsigned), kNothing, driver().devices() == 0 ? CUDA_ERROR_NO_DEVICE                          \
      : (driver().initialized = true, CUDA_SUCCESS))                                                                \
  X(cuDriverGetVersion, "cuDriverGetVersion", (int* version), kNothing, give(version, driver().setting("version", 12020))) \
  X(cuDeviceGetCount, "cuDeviceGetCount", (int* count), kInit, give(count, driver().devices()))                     \
  X(cuDeviceGet, "cuDeviceGet", (CUdevice* device, int ordinal), kInit,                                             \
    isDevice(ordinal) ? give(device, ordinal) : CUDA_ERROR_INVALID_DEVICE)                                          \
  X(cuDeviceGetName, "cuDeviceGetName", (char* name, int length, CUdevice device), kInit, !isDevice(device) ?        \
    CUDA_ERROR_INVALID_DEVICE : (std::snprintf(name, static_cast<size_t>(length), "Emulated GPU %d", device), CUDA_SUCCESS)) \
  X(cuDeviceGetUuid, "cuDeviceGetUuid", (CUuuid* uuid, CUdevice device), kInit,                                     \
    (std::memset(uuid, device + 1, sizeof(*uuid)), CUDA_SUCCESS))                                                   \
  X(cuDeviceGetAttribute, "cuDeviceGetAttribute", (int* value, CUdevice_attribute attribute, CUdevice device), kInit, \
    isDevice(device) ? give(value, attributeOf(attribute)) : CUDA_ERROR_INVALID_DEVICE)                             \
  X(cuDeviceTotalMem_v2, "cuDeviceTotalMem", (size_t* bytes, CUdevice device), kInit,                               \
    isDevice(device) ? give(bytes, driver().memory.budget()) : CUDA_ERROR_INVALID_DEVICE)                           \
  X(cuDeviceComputeCapability, "cuDeviceComputeCapability", (int* major, int* minor, CUdevice device), kInit,       \
    !isDevice(device) ? CUDA_ERROR_INVALID_DEVICE                                                                   \
      : (give(major, driver().capability() / 10), give(minor, driver().capability() % 10)))                         \
  X(cuCtxCreate_v2, "cuCtxCreate", (CUcontext* context, unsigned, CUdevice device), kInit, !isDevice(device) ?       \
    CUDA_ERROR_INVALID_DEVICE : (give(context, driver().createContext(device, false)), driver().push(*context)))    \
  X(cuCtxPushCurrent_v2, "cuCtxPushCurrent", (CUcontext context), kInit, driver().push(context))                    \
  X(cuCtxGetCurrent, "cuCtxGetCurrent", (CUcontext* context), kInit, give(context, driver().current()))             \
  X(cuCtxSetCurrent, "cuCtxSetCurrent", (CUcontext context), kInit, driver().setCurrent(context))                   \
  X(cuCtxGetDevice, "cuCtxGetDevice", (CUdevice* device), kContext, give(device, call.context->device))             \
  X(cuCtxSetLimit, "cuCtxSetLimit", (CUlimit, size_t), kContext, CUDA_SUCCESS)                                      \
  X(cuCtxSynchronize, "cuCtxSynchronize", (), kContext, synchronizeContext(call.context))                           \
  X(cuDevicePrimaryCtxRetain, "cuDevicePrimaryCtxRetain", (CUcontext* context, CUdevice device), kInit,             \
    isDevice(device) ? driver().retainPrimary(context, device) : CUDA_ERROR_INVALID_DEVICE)                         \
  X(cuDevicePrimaryCtxSetFlags, "cuDevicePrimaryCtxSetFlags", (CUdevice, unsigned), kInit, CUDA_SUCCESS)            \
  X(cuDevicePrimaryCtxGetState, "cuDevicePrimaryCtxGetState", (CUdevice device, unsigned* flags, int* active), kInit, \
    primaryState(device, flags, active))                                                                            \
  X(cuMemAlloc_v2, "cuMemAlloc", (CUdeviceptr* pointer, size_t bytes), kContext, allocate(pointer, bytes))          \
  X(cuMemAllocPitch_v2, "cuMemAllocPitch", (CUdeviceptr* pointer, size_t* pitch, size_t width, size_t height,       \
    unsigned element), kContext, allocatePitched(pointer, pitch, width, height, element))                           \
  X(cuMemAllocAsync, "cuMemAllocAsync", (CUdeviceptr* pointer, size_t bytes, CUstream stream), kContext,            \
    allocateLater(call.context, pointer, bytes, stream))                                                            \
  X(cuMemAllocHost_v2, "cuMemAllocHost", (void** pointer, size_t bytes), kContext, allocatePinned(pointer, bytes))  \
  X(cuMemcpy2D_v2, "cuMemcpy2D", (const CUDA_MEMCPY2D* copy), kContext, copy2d(call.context, copy, nullptr, false)) \
  X(cuMemcpy2DAsync_v2, "cuMemcpy2DAsync", (const CUDA_MEMCPY2D* copy, CUstream stream), kContext,                  \
    copy2d(call.context, copy, stream, true))                                                                       \
  X(cuMemsetD8Async, "cuMemsetD8Async", (CUdeviceptr to, unsigned char value, size_t n, CUstream stream), kContext, \
    fill(call.context, to, n, value, stream))                                                                       \
  X(cuStreamCreate, "cuStreamCreate", (CUstream* stream, unsigned flags), kContext,                                 \
    keep(driver().streams, "stream", stream, new CUstream_st{call.context, flags, driver().engine.make()}))         \
  X(cuStreamGetFlags, "cuStreamGetFlags", (CUstream stream, unsigned* flags), kContext, onQueue(stream,             \
    [&](const auto& queue) { return give(flags, queue == call.context->legacy ? 0 : stream->flags); }))             \
  X(cuStreamQuery, "cuStreamQuery", (CUstream stream), kContext, onQueue(stream, [](const auto& queue) {            \
    return driver().engine.isReached(driver().engine.end(queue)) ? CUDA_SUCCESS : CUDA_ERROR_NOT_READY; }))         \
  X(cuStreamSynchronize, "cuStreamSynchronize", (CUstream stream), kContext, synchronize(call.context, stream))     \
  X(cuStreamWaitEvent, "cuStreamWaitEvent", (CUstream stream, CUevent event, unsigned), kContext,                   \
    waitForEvent(call.context, stream, event))                                                                      \
  X(cuStreamAddCallback, "cuStreamAddCallback", (CUstream stream, CUstreamCallback* callback, void* user, unsigned), kContext, \
    onQueue(stream, [&](const auto& queue) { driver().push(call.context, queue, [=, context = call.context] {       \
      callback(stream, context->dead, user); }); return CUDA_SUCCESS; }))                                           \
  X(cuEventCreate, "cuEventCreate", (CUevent* event, unsigned), kContext,                                           \
    keep(driver().events, "event", event, new CUevent_st{call.context, nullptr}))                                   \
  X(cuEventRecord, "cuEventRecord", (CUevent event, CUstream stream), kContext, record(call.context, event, stream)) \
  X(cuEventQuery, "cuEventQuery", (CUevent event), kContext, stateOf(call.context, event, false))                   \
  X(cuEventSynchronize, "cuEventSynchronize", (CUevent event), kContext, stateOf(call.context, event, true))        \
  X(cuEventElapsedTime, "cuEventElapsedTime", (float* milliseconds, CUevent start, CUevent end), kContext,          \
    elapsed(call.context, milliseconds, start, end))

// What releases something does so whatever it answers.
#define QVS_RELEASES(X)                                                                                             \
  X(cuCtxDestroy_v2, "cuCtxDestroy", (CUcontext context), kInit, driver().destroyContext(context))                  \
  X(cuCtxPopCurrent_v2, "cuCtxPopCurrent", (CUcontext* context), kInit, driver().pop(context))                      \
  X(cuDevicePrimaryCtxRelease_v2, "cuDevicePrimaryCtxRelease", (CUdevice device), kInit, driver().releasePrimary(device)) \
  X(cuMemFree_v2, "cuMemFree", (CUdeviceptr pointer), kContext, driver().free(pointer))                             \
  X(cuMemFreeAsync, "cuMemFreeAsync", (CUdeviceptr pointer, CUstream stream), kContext,                             \
    freeLater(call.context, pointer, stream))                                                                       \
  X(cuMemFreeHost, "cuMemFreeHost", (void* pointer), kContext, freePinned(call.context, pointer))                   \
  X(cuStreamDestroy_v2, "cuStreamDestroy", (CUstream stream), kContext, end(driver().streams, "stream", stream))    \
  X(cuEventDestroy_v2, "cuEventDestroy", (CUevent event), kContext, end(driver().events, "event", event))

// Copies in a row: name in the library, name in scripts, parameters, both sides, stream.
#define QVS_COPIES(X)                                                                                               \
  X(cuMemcpy, "cuMemcpy", (CUdeviceptr to, CUdeviceptr from, size_t n), linear(to, n), linear(from, n), nullptr)    \
  X(cuMemcpyAsync, "cuMemcpyAsync", (CUdeviceptr to, CUdeviceptr from, size_t n, CUstream s), linear(to, n), linear(from, n), s) \
  X(cuMemcpyHtoD_v2, "cuMemcpyHtoD", (CUdeviceptr to, const void* from, size_t n), linear(to, n), host(from, n), nullptr) \
  X(cuMemcpyHtoDAsync_v2, "cuMemcpyHtoDAsync", (CUdeviceptr to, const void* from, size_t n, CUstream s), linear(to, n), host(from, n), s) \
  X(cuMemcpyDtoH_v2, "cuMemcpyDtoH", (void* to, CUdeviceptr from, size_t n), host(to, n), linear(from, n), nullptr) \
  X(cuMemcpyDtoHAsync_v2, "cuMemcpyDtoHAsync", (void* to, CUdeviceptr from, size_t n, CUstream s), host(to, n), linear(from, n), s) \
  X(cuMemcpyDtoD_v2, "cuMemcpyDtoD", (CUdeviceptr to, CUdeviceptr from, size_t n), linear(to, n), linear(from, n), nullptr) \
  X(cuMemcpyDtoDAsync_v2, "cuMemcpyDtoDAsync", (CUdeviceptr to, CUdeviceptr from, size_t n, CUstream s), linear(to, n), linear(from, n), s)

#define QVS_CALL(symbol, name, parameters, needs, answer) \
  QVS_API symbol parameters {                             \
    const Call call(name, Call::Needs::needs);            \
    return call.code == CUDA_SUCCESS ? (answer) : call.code; \
  }
#define QVS_RELEASE(symbol, name, parameters, needs, answer)                        \
  QVS_API symbol parameters {                                                       \
    const Call call(name, Call::Needs::needs);                                      \
    if (Call::Needs::needs == Call::Needs::kContext && call.context == nullptr) return call.code; \
    const CUresult code = answer;                                                   \
    return call.code != CUDA_SUCCESS ? call.code : code;                            \
  }
#define QVS_COPY(symbol, name, parameters, target, source, stream) \
  QVS_CALL(symbol, name, parameters, kContext, copyAsNamed(call.context, name, target, source, n, stream))
// clang-format on

QVS_CALLS(QVS_CALL)
QVS_RELEASES(QVS_RELEASE)
QVS_COPIES(QVS_COPY)

#undef cuDevicePrimaryCtxRelease
QVS_API cuDevicePrimaryCtxRelease(CUdevice device) {
  return cuDevicePrimaryCtxRelease_v2(device);
}

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
