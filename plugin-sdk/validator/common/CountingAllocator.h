#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "common/GuardedBytes.h"
#include "qvs/plugin.h"

namespace qvs::validator {

/// The transcoder's allocator as a plug-in sees it, of the strict kind: arrays lie between guard pages, a handle is no
/// address, bytes can be touched between lock and unlock only, and each call can be made to fail.
class CountingAllocator {
 public:
  /// The `number`th call from now on fails, counted from 1; 0: none.
  void failAt(uint64_t number) { failing = number == 0 ? 0 : calls + number; }
  bool hasFailed() const { return failures > 0; }
  uint64_t callCount() const { return calls; }

  /// Takes over an array that the plug-in has handed out, and frees it. Its first `size` bytes, or in `wrong` why not.
  std::vector<uint8_t> take(void* array, uint32_t size, std::string& wrong);

  /// Empty, or what the plug-in still holds or has done wrong.
  std::string wrong() const;

  static void* create(void* host, uint32_t size);
  static void release(void* host, void* array);
  static uint8_t* lock(void* host, void* array);
  static void unlock(void* host, void* array, uint8_t* bytes);

 private:
  struct Array {
    std::unique_ptr<GuardedBytes> bytes;
    bool locked = false;
  };

  mutable std::mutex guard;  // a plug-in's own threads may call
  std::map<void*, Array> arrays;
  std::string fault;
  uint64_t calls = 0;
  uint64_t failing = 0;
  uint64_t failures = 0;
};

}  // namespace qvs::validator
