// The stream record that encoders write coded bytes to, one unit at a time.
#include "bufstream/CodedUnitSink.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace qvs {

CodedUnitSink::CodedUnitSink(void* owner, AuxInfo auxInfo) : owner(owner) {
  stream.usable_bytes = usableBytes;
  stream.request = request;
  stream.confirm = confirm;
  stream.copybytes = copyBytes;
  stream.chunksize = chunkSize;
  stream.auxinfo = auxInfo;
  stream.done = done;
  stream.Buf_IO_struct = this;
}

bool CodedUnitSink::setCapacity(uint32_t bytes) {
  length = 0;
  buffer.reset();  // before the new one: both at once could be more than there is
  buffer.reset(static_cast<uint8_t*>(std::malloc(bytes)));
  capacity = buffer ? bytes : 0;
  return buffer != nullptr;
}

std::span<const uint8_t> CodedUnitSink::take() {
  return {buffer.get(), std::exchange(length, 0)};
}

uint32_t CodedUnitSink::usableBytes(bufstream_tt* stream) {
  return of(stream).length;
}

uint8_t* CodedUnitSink::request(bufstream_tt* stream, uint32_t) {
  CodedUnitSink& self = of(stream);
  return self.length >= self.capacity ? nullptr : self.buffer.get() + self.length;
}

uint32_t CodedUnitSink::confirm(bufstream_tt* stream, uint32_t size) {
  CodedUnitSink& self = of(stream);
  // More than the room that `chunksize` told must not lead the next write or read outside the buffer.
  self.length += std::min(size, self.capacity - self.length);
  return size;
}

uint32_t CodedUnitSink::copyBytes(bufstream_tt* stream, uint8_t* source, uint32_t size) {
  CodedUnitSink& self = of(stream);
  if (size > self.capacity - self.length) return 0;
  if (size != 0) std::memcpy(self.buffer.get() + self.length, source, size);
  self.length += size;
  return size;
}

uint32_t CodedUnitSink::chunkSize(bufstream_tt* stream) {
  return of(stream).capacity - of(stream).length;
}

void CodedUnitSink::done(bufstream_tt*, int32_t) {}

}  // namespace qvs
