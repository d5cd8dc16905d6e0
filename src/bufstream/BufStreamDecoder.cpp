// The life of a decoder behind a stream record, and feeding it.
#include "bufstream/BufStreamDecoder.h"

namespace qvs {

bool BufStreamDecoder::open(bufstream_tt* made) {
  close();
  stream = made;
  return stream != nullptr;
}

void BufStreamDecoder::close() {
  if (stream == nullptr) return;
  stream->done(stream, abortAtEnd);
  stream->free(stream);
  stream = nullptr;
}

void BufStreamDecoder::feedAll(std::span<uint8_t> bytes) {
  while (!bytes.empty()) {
    const uint32_t taken = feed(bytes.data(), static_cast<uint32_t>(bytes.size()));
    if (taken == 0 || taken > bytes.size()) return;
    bytes = bytes.subspan(taken);
  }
}

}  // namespace qvs
