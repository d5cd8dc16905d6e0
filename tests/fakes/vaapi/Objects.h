#pragma once

#include <va/va.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "fakes/support/OpenCounts.h"

namespace qvs::fakes {

using Clock = std::chrono::steady_clock;

/// Bytes of the card that an object holds.
class CardMemory {
 public:
  explicit CardMemory(size_t size) : bytes(static_cast<int64_t>(size)) { taken += bytes; }
  ~CardMemory() { taken -= bytes; }
  CardMemory(const CardMemory&) = delete;
  CardMemory& operator=(const CardMemory&) = delete;

  /// Whether so many more stay within the budget; 0: there is none.
  static bool fits(size_t size, int64_t budget) {
    return budget == 0 || taken + static_cast<int64_t>(size) <= budget;
  }

 private:
  static inline std::atomic<int64_t> taken{0};
  int64_t bytes;
};

struct FakeConfig {
  static constexpr const char* kKind = "config";
  VAProfile profile;
  VAEntrypoint entrypoint;
  uint32_t rateControl = VA_RC_CQP;
  uint32_t packed = 0;
};

/// NV12 with more bytes a row and more rows than the picture has, as cards' are.
struct FakeSurface {
  static constexpr const char* kKind = "surface";

  FakeSurface(uint32_t surfaceWidth, uint32_t surfaceHeight)
      : width(surfaceWidth),
        height(surfaceHeight),
        pitch((width + 63) / 64 * 64),
        rows((height + 31) / 32 * 32),
        memory(bytesFor(width, height), 0x80) {}
  static size_t bytesFor(uint32_t width, uint32_t height) {
    return (size_t{width} + 63) / 64 * 64 * ((size_t{height} + 31) / 32 * 32) * 3 / 2;
  }
  uint8_t* chroma() { return memory.data() + size_t{pitch} * rows; }

  uint32_t width;
  uint32_t height;
  uint32_t pitch;
  uint32_t rows;  ///< of luma
  std::vector<uint8_t> memory;
  CardMemory card{memory.size()};
  Clock::time_point readyAt{};
};

struct FakeBuffer {
  static constexpr const char* kKind = "buffer";

  FakeBuffer(VABufferType bufferType, size_t size) : type(bufferType), memory(size), data(memory.data()) {}

  VABufferType type;
  std::vector<uint8_t> memory;
  uint8_t* data;  ///< the memory, or a surface's
  CardMemory card{memory.size()};
  std::vector<uint8_t> coded;  ///< of a coded buffer
  VACodedBufferSegment segments[2]{};
  Clock::time_point readyAt{};
};

struct FakeImage {
  static constexpr const char* kKind = "image";
  VAImage image;
};

/// No two objects of any kind or display have one id, so that a wrong one is found out.
inline uint32_t nextId() {
  static std::atomic<uint32_t> next{1};
  return next++;
}

/// Objects of a kind by id.
template <typename Object>
class Table {
 public:
  explicit Table(OpenCounts& openCounts) : counts(openCounts) {}
  ~Table() {
    for (size_t i = 0; i < objects.size(); ++i) counts.closed(Object::kKind);
  }

  uint32_t add(std::unique_ptr<Object> object) {
    counts.opened(Object::kKind);
    const uint32_t id = nextId();
    objects[id] = std::move(object);
    return id;
  }
  Object* find(uint32_t id) {
    const auto found = objects.find(id);
    return found != objects.end() ? found->second.get() : nullptr;
  }
  bool remove(uint32_t id) {
    if (objects.erase(id) == 0) return false;
    counts.closed(Object::kKind);
    return true;
  }
  size_t size() const { return objects.size(); }

 private:
  OpenCounts& counts;
  std::map<uint32_t, std::unique_ptr<Object>> objects;
};

}  // namespace qvs::fakes
