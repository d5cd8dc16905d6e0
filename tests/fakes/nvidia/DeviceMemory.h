#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

namespace qvs::fakes {

/// The card's memory. What is handed out are addresses in a range that nobody may touch; the bytes lie elsewhere, each
/// block between pages that nobody may touch. Addresses of ended blocks come back late.
class DeviceMemory {
 public:
  /// Range and budget in bytes.
  DeviceMemory(uint64_t range, uint64_t budget);

  /// 0 where the budget or the range doesn't have it. `ready`: it can be used at once; else from `makeReady` on.
  uint64_t allocate(size_t bytes, const void* owner, bool ready, bool counted = true);
  void makeReady(uint64_t pointer);
  /// The block's end is on its way: nothing new may use it. False where no block starts there.
  bool announceEnd(uint64_t pointer);
  bool free(uint64_t pointer);
  size_t freeAllOf(const void* owner);  ///< how many counted ones

  /// Whether all of it lies in one block whose end isn't announced.
  bool holds(uint64_t pointer, size_t bytes);
  /// The bytes behind, null where not all of it lies in one block that is ready.
  uint8_t* bytesAt(uint64_t pointer, size_t bytes);
  bool isDevice(uint64_t pointer) const { return pointer - base < range; }

  int64_t blocks();
  int64_t bytes();
  uint64_t budget() const { return most; }
  uint64_t overruns();

 private:
  struct Block {
    size_t bytes;
    size_t pages;  ///< in bytes, without the guard behind
    const void* owner;
    bool ready;
    bool ending;
    bool counted;
  };
  using Blocks = std::map<uint64_t, Block>;
  uint64_t findPlace(size_t needed) const;
  void open(uint64_t offset, Block& block);
  void close(Blocks::iterator at);
  Blocks::iterator find(uint64_t pointer, size_t length);

  std::mutex lock;
  uint64_t range, most, base = 0;
  uint8_t* backing = nullptr;
  uint64_t cursor = 0, used = 0, overrun = 0;
  int64_t count = 0;
  Blocks live;  ///< by offset
};

}  // namespace qvs::fakes
