#pragma once

#include <cstddef>
#include <cstdint>

// How a recording lies in its file; docs/recording.md tells it for readers. Numbers are little-endian.
//
// The file is a row of slots of equal size. A slot holds chunks, one behind the other, each at a multiple of 8; an empty
// length or a number below the slot's first ends it. Chunks have a number each, one series through all slots: sorted by
// it they are the recording, and a hole in the series is what the ring has given up. A frame is one chunk, or several
// in a row where it is long.

namespace qvs {

inline constexpr uint64_t kSlotMagic = 0x3130434552535651;  // "QVSREC01"
inline constexpr size_t kSlotBytes = size_t{1} << 20;

struct SlotHeader {
  uint64_t magic;
  uint64_t firstNumber;  ///< of the chunks in it; lower ones are left over from an earlier use
};

/// The length is stored last: what stands behind an empty one was never finished.
struct ChunkHeader {
  uint32_t length;    ///< bytes behind this header
  uint32_t checksum;  ///< CRC-32 of number, flags and bytes
  uint64_t number;
  uint64_t flags;
};
inline constexpr uint64_t kFirstOfFrame = 1;
inline constexpr uint64_t kLastOfFrame = 2;

/// First byte of a frame.
enum class FrameKind : uint8_t {
  kProcess = 1,  ///< process number, environment
  kNative,       ///< number, class, name and signature of a native
  kClass,        ///< number, kind, name and fields of a Java class
  kEnter,        ///< call number, thread, time, native, arguments
  kExit,         ///< call number, result, objects as the call left them
};

/// How values of a Java class are written.
enum class ValueKind : uint8_t {
  kString = 1,
  kBytes,
  kInts,
  kLongs,
  kDoubles,
  kObjects,
  kList,
  kBuffer,
  kRecord
};

// In the place of a class number.
inline constexpr uint16_t kNullValue = 0;
inline constexpr uint16_t kSameValue = 0xFFFF;    ///< as it went in
inline constexpr uint16_t kUnreadValue = 0xFFFE;  ///< could not be read

}  // namespace qvs
