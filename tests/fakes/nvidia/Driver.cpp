// What the emulated driver's libraries share: contexts, the order of streams, the start of each call.
#include "Driver.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace qvs::fakes {
namespace {

constexpr int kDeepest = 64;
thread_local CUcontext stack[kDeepest];
thread_local int depth = 0;

void readEnvironment(FaultScript& script) {
  const char* text = std::getenv("QVS_FAKE_FAULTS");
  script.set(text != nullptr ? text : "");
}

int64_t atStart(const char* name, int64_t otherwise) {
  FaultScript script;
  readEnvironment(script);
  return script.number(name, otherwise);
}

}  // namespace

Driver& Driver::get() {
  static Driver driver;
  return driver;
}

Driver::Driver()
    : memory(static_cast<uint64_t>(atStart("range", int64_t{16} << 30)),
             static_cast<uint64_t>(atStart("memory", int64_t{8} << 30))),
      engine(std::chrono::milliseconds(atStart("late", 4))) {
  readEnvironment(script);
}

int64_t Driver::setting(const char* name, int64_t otherwise) {
  return script.number(name, otherwise);
}

bool Driver::is(const char* name, const char* word) {
  return script.is(name, word);
}

void Driver::opened(const char* kind) {
  open.opened(kind);
}

void Driver::closed(const char* kind) {
  open.closed(kind);
}

Fault Driver::nextFault(const char* name) {
  return script.next(name);
}

int Driver::devices() {
  return static_cast<int>(script.number("devices", 1));
}

int Driver::capability() {
  return static_cast<int>(script.number("capability", 86));
}

CUcontext Driver::current() {
  return depth > 0 ? stack[depth - 1] : nullptr;
}

CUresult Driver::push(CUcontext context) {
  if (!isLive(contexts, context)) return CUDA_ERROR_INVALID_CONTEXT;
  if (depth == kDeepest) return CUDA_ERROR_INVALID_VALUE;
  stack[depth++] = context;
  return CUDA_SUCCESS;
}

CUresult Driver::pop(CUcontext* context) {
  if (depth == 0) return CUDA_ERROR_INVALID_CONTEXT;
  --depth;
  if (context != nullptr) *context = stack[depth];
  return CUDA_SUCCESS;
}

CUresult Driver::setCurrent(CUcontext context) {
  if (context != nullptr && !isLive(contexts, context)) return CUDA_ERROR_INVALID_CONTEXT;
  if (depth > 0) --depth;
  return context != nullptr ? push(context) : CUDA_SUCCESS;
}

CUcontext Driver::createContext(int device, bool primary) {
  const auto context = new CUctx_st;
  context->device = device;
  context->primary = primary;
  context->legacy = engine.make();
  const std::lock_guard hold(lock);
  contexts.insert(context);
  opened("context");
  return context;
}

template <typename Handle, typename End>
void Driver::endAllOf(CUcontext context, std::set<Handle>& handles, const char* kind, End end) {
  std::erase_if(handles, [&](Handle handle) {
    if (handle->context != context) return false;
    end(handle);
    delete handle;
    closed(kind);
    return true;
  });
}

CUresult Driver::destroyContext(CUcontext context) {
  if (!isLive(contexts, context)) return CUDA_ERROR_INVALID_CONTEXT;
  waitFor(context);
  {
    const std::lock_guard hold(lock);
    contexts.erase(context);
    endAllOf(context, streams, "stream", [&](CUstream stream) { engine.drop(stream->queue); });
    endAllOf(context, events, "event", [](CUevent) {});
    endAllOf(context, modules, "module", [](CUmodule) {});
  }
  engine.drop(context->legacy);
  for (size_t ended = memory.freeAllOf(context); ended > 0; --ended) closed("memory");
  // As the vendor's does: what was current on this thread isn't any more.
  while (depth > 0 && stack[depth - 1] == context) --depth;
  closed("context");
  delete context;
  return CUDA_SUCCESS;
}

CUresult Driver::retainPrimary(CUcontext* context, int device) {
  {
    const std::lock_guard hold(lock);
    const auto found = primaries.find(device);
    if (found != primaries.end()) {
      ++found->second->users;
      *context = found->second;
      return CUDA_SUCCESS;
    }
  }
  *context = createContext(device, true);
  const std::lock_guard hold(lock);
  primaries[device] = *context;
  return CUDA_SUCCESS;
}

CUresult Driver::releasePrimary(int device) {
  CUcontext last = nullptr;
  {
    const std::lock_guard hold(lock);
    const auto found = primaries.find(device);
    if (found == primaries.end()) return CUDA_ERROR_INVALID_CONTEXT;
    if (--found->second->users > 0) return CUDA_SUCCESS;
    last = found->second;
    primaries.erase(found);
  }
  return destroyContext(last);
}

void Driver::kill(CUcontext context, CUresult code) {
  const std::lock_guard hold(lock);
  for (CUcontext one : contexts) {
    if (context == nullptr || one == context) one->dead = code;
  }
}

CUresult Driver::queueOf(CUstream stream, std::shared_ptr<Stream>* queue) {
  const CUcontext context = current();
  // 1 and 2 are the vendor's other names for the stream without a handle.
  if (reinterpret_cast<uintptr_t>(stream) <= 2) {
    *queue = context->legacy;
    return CUDA_SUCCESS;
  }
  if (!isLive(streams, stream) || stream->context != context) return CUDA_ERROR_INVALID_HANDLE;
  *queue = stream->queue;
  return CUDA_SUCCESS;
}

std::vector<Stream::Point> Driver::orderOf(CUcontext context, const std::shared_ptr<Stream>& queue) {
  std::vector<Stream::Point> after;
  const std::lock_guard hold(lock);
  for (CUstream stream : streams) {
    if (stream->context != context || (stream->flags & CU_STREAM_NON_BLOCKING) != 0) continue;
    if (queue == context->legacy) after.push_back(engine.end(stream->queue));
    if (queue == stream->queue) after.push_back(engine.end(context->legacy));
  }
  return after;
}

Stream::Point Driver::push(CUcontext context, const std::shared_ptr<Stream>& queue,
                           std::function<void()> task, std::vector<Stream::Point> after) {
  std::vector<Stream::Point> all = orderOf(context, queue);
  all.insert(all.end(), after.begin(), after.end());
  std::erase_if(all, [&](const Stream::Point& point) { return engine.isReached(point); });
  return engine.push(queue, std::move(task), std::move(all));
}

void Driver::waitFor(CUcontext context) {
  std::vector<Stream::Point> ends{engine.end(context->legacy)};
  {
    const std::lock_guard hold(lock);
    for (CUstream stream : streams) {
      if (stream->context == context) ends.push_back(engine.end(stream->queue));
    }
  }
  for (const auto& point : ends) engine.wait(point);
}

uint64_t Driver::allocate(size_t bytes) {
  const uint64_t pointer = memory.allocate(bytes, current(), true);
  if (pointer != 0) opened("memory");
  return pointer;
}

CUresult Driver::free(uint64_t pointer) {
  if (!memory.announceEnd(pointer)) return CUDA_ERROR_INVALID_VALUE;
  ++waits;
  waitFor(current());
  memory.free(pointer);
  closed("memory");
  return CUDA_SUCCESS;
}

void Driver::pinned(const void* block, size_t bytes) {
  const std::lock_guard hold(pinnedLock);
  pinnedBlocks[block] = bytes;
  opened("pinned");
}

bool Driver::unpin(const void* block) {
  const std::lock_guard hold(pinnedLock);
  if (pinnedBlocks.erase(block) == 0) return false;
  closed("pinned");
  return true;
}

bool Driver::isPinned(const void* pointer) {
  const std::lock_guard hold(pinnedLock);
  auto at = pinnedBlocks.upper_bound(pointer);
  if (at == pinnedBlocks.begin()) return false;
  --at;
  return static_cast<const char*>(pointer) - static_cast<const char*>(at->first) <
         static_cast<ptrdiff_t>(at->second);
}

void Driver::count(EmulatedGpuCounts& out) {
  engine.waitForAll();
  out = {.contexts = open.live("context"),
         .streams = open.live("stream"),
         .events = open.live("event"),
         .modules = open.live("module"),
         .blocks = memory.blocks(),
         .bytes = memory.bytes(),
         .pinned = open.live("pinned"),
         .parsers = open.live("parser"),
         .decoders = open.live("decoder"),
         .mapped = open.live("mapped"),
         .encoders = open.live("encoder"),
         .hostToDevice = hostToDevice,
         .deviceToHost = deviceToHost,
         .deviceToDevice = deviceToDevice,
         .bytesHostToDevice = bytesHostToDevice,
         .bytesDeviceToHost = bytesDeviceToHost,
         .launches = launches,
         .synchronisations = synchronisations,
         .waits = waits,
         .decoded = decoded,
         .coded = coded,
         .overruns = memory.overruns(),
         .calls = script.calls()};
}

Call::Call(const char* name, Needs needs) {
  Driver& driver = Driver::get();
  context = driver.current();
  const Fault fault = driver.nextFault(name);
  if (fault.kind == Fault::Kind::kLate) std::this_thread::sleep_for(std::chrono::milliseconds(fault.value));
  if (fault.kind == Fault::Kind::kStatus) {
    code = static_cast<CUresult>(fault.value);
    // Illegal addresses and their like end the context.
    if (fault.value >= 700 && fault.value < 720) driver.kill(context, code);
  } else if (needs != Needs::kNothing && !driver.initialized) {
    code = CUDA_ERROR_NOT_INITIALIZED;
  } else if (needs == Needs::kContext && context == nullptr) {
    code = CUDA_ERROR_INVALID_CONTEXT;
  } else if (needs == Needs::kContext) {
    code = driver.isLive(driver.contexts, context) ? context->dead.load() : CUDA_ERROR_INVALID_CONTEXT;
  }
  // Nothing more can be asked of a context that is gone.
  if (context != nullptr && !driver.isLive(driver.contexts, context)) context = nullptr;
}

}  // namespace qvs::fakes

extern "C" QVS_EXPORT void qvsEmulatedGpuCounts(qvs::fakes::EmulatedGpuCounts* out) {
  qvs::fakes::Driver::get().count(*out);
}

extern "C" QVS_EXPORT void qvsEmulatedGpuFaults(const char* text) {
  qvs::fakes::Driver::get().setScript(text);
}

extern "C" QVS_EXPORT const char* qvsEmulatedGpuFaulty() {
  thread_local std::string name;
  name = qvs::fakes::Driver::get().faulty();
  return name.c_str();
}
