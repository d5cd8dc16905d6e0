#pragma once

#include <mc_bufstream.h>

#include <cstdint>
#include <memory>
#include <span>

#include "platform/FreeDeleter.h"

namespace qvs {

/// The stream record that an encoder writes to: gathers the bytes of one coded unit at a time. What the
/// encoder tells beside the bytes goes to the owner.
class CodedUnitSink {
 public:
  using AuxInfo = uint32_t (*)(bufstream_tt* stream, uint32_t offset, uint32_t code, void* info,
                               uint32_t size);

  CodedUnitSink(void* owner, AuxInfo auxInfo);
  CodedUnitSink(const CodedUnitSink&) = delete;
  CodedUnitSink& operator=(const CodedUnitSink&) = delete;

  bufstream_tt* getStream() { return &stream; }

  /// The owner of the sink behind a record, in its `AuxInfo`.
  template <typename Owner>
  static Owner& ownerOf(bufstream_tt* stream) {
    return *static_cast<Owner*>(of(stream).owner);
  }

  /// Bytes of the largest unit. Drops the one in the making; false without memory, and there is no room at
  /// all.
  bool setCapacity(uint32_t bytes);
  uint32_t getCapacity() const { return capacity; }

  /// Ends the unit in the making. Its bytes stay until the encoder writes again.
  std::span<const uint8_t> take();
  void discard() { length = 0; }

 private:
  static CodedUnitSink& of(bufstream_tt* stream) {
    return *static_cast<CodedUnitSink*>(stream->Buf_IO_struct);
  }
  static uint32_t usableBytes(bufstream_tt* stream);
  static uint8_t* request(bufstream_tt* stream, uint32_t size);
  static uint32_t confirm(bufstream_tt* stream, uint32_t size);
  static uint32_t copyBytes(bufstream_tt* stream, uint8_t* source, uint32_t size);
  static uint32_t chunkSize(bufstream_tt* stream);
  static void done(bufstream_tt* stream, int32_t abort);

  bufstream_tt stream{};
  void* owner;
  std::unique_ptr<uint8_t, FreeDeleter> buffer;
  uint32_t capacity = 0;
  uint32_t length = 0;  ///< bytes of the unit in the making
};

}  // namespace qvs
