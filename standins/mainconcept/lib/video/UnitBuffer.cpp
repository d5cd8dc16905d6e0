// Gathering the coded bytes of a unit, with room behind for the codecs' reads.
#include "video/UnitBuffer.h"

#include <algorithm>
#include <cstring>

namespace qvs::mc {

namespace {

constexpr size_t kUnitMax = size_t{1} << 28;
constexpr size_t kSmallest = 16384;

}  // namespace

UnitBuffer::~UnitBuffer() {
  if (buffer != nullptr) AvLibrary::codecs()->av_buffer_unref(&buffer);
}

bool UnitBuffer::reserve(size_t bytes) {
  const AvLibrary& av = *AvLibrary::codecs();
  // The codec may still hold the last unit: it keeps that memory then.
  if (length == 0 && buffer != nullptr && av.av_buffer_is_writable(buffer) == 0) av.av_buffer_unref(&buffer);
  if (buffer != nullptr && buffer->size >= bytes) return true;
  return av.av_buffer_realloc(&buffer, std::max(bytes + bytes / 2, kSmallest)) >= 0;
}

bool UnitBuffer::append(const uint8_t* bytes, size_t count) {
  if (count > kUnitMax - length || !reserve(length + count + AV_INPUT_BUFFER_PADDING_SIZE)) return false;
  if (count != 0) std::memcpy(buffer->data + length, bytes, count);
  length += count;
  return true;
}

bool UnitBuffer::prepend(const uint8_t* bytes, size_t count) {
  if (!append(bytes, count)) return false;
  std::rotate(buffer->data, buffer->data + length - count, buffer->data + length);
  return true;
}

void UnitBuffer::lend(AVPacket& packet) {
  std::memset(buffer->data + length, 0, AV_INPUT_BUFFER_PADDING_SIZE);
  packet.buf = buffer;
  packet.data = buffer->data;
  packet.size = static_cast<int>(length);
}

}  // namespace qvs::mc
