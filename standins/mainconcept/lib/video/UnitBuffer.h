#pragma once

#include <cstddef>
#include <cstdint>

#include "av/AvLibrary.h"

namespace qvs::mc {

/// Gathers coded bytes that arrive in pieces, with the room behind them that the codecs read past the end.
/// The memory is used again from unit to unit.
class UnitBuffer {
 public:
  UnitBuffer() = default;
  ~UnitBuffer();
  UnitBuffer(const UnitBuffer&) = delete;
  UnitBuffer& operator=(const UnitBuffer&) = delete;

  /// False, with nothing taken, where the unit would grow too large or there is no memory.
  bool append(const uint8_t* bytes, size_t count);
  /// The same in front of what is there.
  bool prepend(const uint8_t* bytes, size_t count);
  void dropEnd(size_t count) { length -= count < length ? count : length; }
  void clear() { length = 0; }

  const uint8_t* data() const { return buffer != nullptr ? buffer->data : nullptr; }
  size_t size() const { return length; }
  bool empty() const { return length == 0; }

  /// The unit, as a packet's data; the packet borrows the memory until it is sent.
  void lend(AVPacket& packet);

 private:
  bool reserve(size_t bytes);

  AVBufferRef* buffer = nullptr;  ///< owned
  size_t length = 0;              ///< bytes
};

}  // namespace qvs::mc
