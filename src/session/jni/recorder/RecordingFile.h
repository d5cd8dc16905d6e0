#pragma once

#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "session/jni/recorder/RecordingFormat.h"

namespace qvs {

/// A recording on its way into a file, which is mapped: what is appended is the kernel's at once and outlives the
/// process, however that ends. Bounded: when the file has its size the oldest of the ring gives way. Any thread may call.
class RecordingFile {
 public:
  /// What a frame is, and so how long it is kept.
  enum class Stream {
    kDefinitions,  ///< for ever
    kSetup,        ///< as long as its session lives, and then as long as any of its frames
    kRing,         ///< until its place is needed
  };
  static constexpr int64_t kNoSession = 0;   ///< nobody's: kept with its neighbours
  static constexpr int64_t kProcess = -1;    ///< of all sessions: kept for ever
  static constexpr size_t kFewestSlots = 8;  ///< the smallest file

  RecordingFile() = default;
  ~RecordingFile() { close(); }
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;

  /// Makes the file, or empties it. Another process's recording is left alone: then the file is `path` with this
  /// process's number behind it. Empty when it went well, else why not.
  std::string open(const std::string& path, uint64_t maxBytes);
  void close();

  /// False when the recording has come to its end: closed, or no room could be had.
  bool append(Stream stream, std::span<const uint8_t> frame, int64_t session);

  /// The session is gone; its set-up is kept no longer than the rest of it.
  void sessionEnded(int64_t session);

  const std::string& path() const { return name; }

 private:
  struct Slot {
    Stream stream;
    uint64_t firstNumber;
    uint64_t neededTo = 0;  ///< while the ring reaches back to this number the slot stays
    std::vector<int64_t> sessions;
  };
  /// Where a stream writes.
  struct Cursor {
    size_t slot = kNowhere;
    uint8_t* memory = nullptr;
    size_t used = 0;
  };
  static constexpr size_t kNowhere = ~size_t{0};

  bool isLocked(const std::string& candidate);
  bool advance(Stream stream);
  size_t takeSlot(Stream stream);
  bool grow();
  size_t oldestFreeSlot(Stream stream) const;
  bool isFree(size_t index, uint64_t ringBegin) const;
  uint64_t ringBegin() const;
  size_t room(const Cursor& cursor) const;
  void writeChunk(Cursor& cursor, std::span<const uint8_t> bytes, uint64_t flags);

  std::mutex lock;
  std::string name;
  int descriptor = -1;
  size_t mostSlots = 0;
  std::vector<Slot> slots;
  Cursor cursors[3];
  uint64_t nextNumber = 1;
};

}  // namespace qvs
