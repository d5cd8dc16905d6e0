// The strict allocator that plug-ins are given while they are checked.
#include "common/CountingAllocator.h"

namespace qvs::validator {
namespace {

CountingAllocator& self(void* host) {
  return *static_cast<CountingAllocator*>(host);
}

constexpr const char* kNotLocked = "the bytes of an array that is not locked";

}  // namespace

void* CountingAllocator::create(void* host, uint32_t size) {
  CountingAllocator& it = self(host);
  const std::lock_guard lock(it.guard);
  if (++it.calls == it.failing) {
    ++it.failures;
    return nullptr;
  }
  auto bytes = std::make_unique<GuardedBytes>("an array of the allocator", size);
  bytes->revoke(kNotLocked);
  void* handle = bytes->handle();
  it.arrays[handle] = {std::move(bytes)};
  return handle;
}

void CountingAllocator::release(void* host, void* array) {
  CountingAllocator& it = self(host);
  const std::lock_guard lock(it.guard);
  if (it.arrays.erase(array) == 0 && array != nullptr) it.fault = "frees an array that it doesn't hold";
}

uint8_t* CountingAllocator::lock(void* host, void* array) {
  CountingAllocator& it = self(host);
  const std::lock_guard lock(it.guard);
  const auto found = it.arrays.find(array);
  if (found == it.arrays.end()) {
    it.fault = "locks an array that it doesn't hold";
    return nullptr;
  }
  found->second.locked = true;
  found->second.bytes->open();
  return found->second.bytes->data();
}

void CountingAllocator::unlock(void* host, void* array, uint8_t* bytes) {
  CountingAllocator& it = self(host);
  const std::lock_guard lock(it.guard);
  const auto found = it.arrays.find(array);
  if (found == it.arrays.end() || !found->second.locked || found->second.bytes->data() != bytes) {
    it.fault = "unlocks what it hasn't locked";
    return;
  }
  found->second.locked = false;
  found->second.bytes->revoke(kNotLocked);
}

std::vector<uint8_t> CountingAllocator::take(void* array, uint32_t size, std::string& wrong) {
  const std::lock_guard lock(guard);
  const auto found = arrays.find(array);
  if (found == arrays.end()) {
    wrong = "hands out an array that isn't the allocator's, or the same one twice";
    return {};
  }
  const Array taken = std::move(found->second);
  arrays.erase(found);
  if (taken.locked) wrong = "hands out an array that is still locked";
  taken.bytes->open();
  if (size > taken.bytes->size()) {
    wrong = "tells " + std::to_string(size) + " bytes of an array of " + std::to_string(taken.bytes->size());
    return {};
  }
  if (!taken.bytes->slackIntact()) wrong = "writes in front of an array of the allocator";
  return {taken.bytes->data(), taken.bytes->data() + size};
}

std::string CountingAllocator::wrong() const {
  const std::lock_guard lock(guard);
  if (!fault.empty()) return fault;
  return arrays.empty() ? std::string{}
                        : "keeps " + std::to_string(arrays.size()) + " arrays of the allocator";
}

}  // namespace qvs::validator
