#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qvs::validator {

/// Bytes between two ranges that nobody may touch. The process's handler of bad accesses knows all that exist, so that
/// it can say whose edge was crossed.
class GuardedBytes {
 public:
  enum Edge { kEnd, kStart };
  static constexpr uint8_t kFill = 0xC5;

  /// `what` is named in messages ("the picture") and outlives the bytes. They end at the upper one, or begin at the
  /// lower one; the slack at the other edge holds kFill.
  GuardedBytes(const char* what, size_t size, Edge edge = kEnd);
  ~GuardedBytes();
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  uint8_t* data() const { return start; }
  size_t size() const { return bytes; }
  /// An address that belongs to these bytes and that nobody can read or write.
  void* handle() const { return map + room + kGuard + page / 2; }

  /// From here on the bytes may be read, or not even that; `because` completes "touched ..." in messages.
  void makeReadOnly(const char* because);
  void revoke(const char* because);
  void open();

  /// Whether the slack beside the bytes is as it was made. The bytes must be readable.
  bool slackIntact() const;

  /// What lies at a bad address, in words.
  static std::string describe(const void* address);

 private:
  void protect(int protection, const char* because);

  const char* name;
  const char* reason = nullptr;
  size_t bytes;
  /// Wide enough to tell whose bytes a length is about that was believed.
  static constexpr size_t kGuard = 1 << 20;
  size_t page;
  size_t room;
  uint8_t* map;
  uint8_t* start;
  GuardedBytes* before = nullptr;
  GuardedBytes* after = nullptr;
};

}  // namespace qvs::validator
