#pragma once

#include <mc_bufstream.h>

#include <cstdint>
#include <span>

namespace qvs {

/// A codec library's decoder behind a stream record, owned: the bytes that go in and the command channel.
/// Every operation but `open`, `close` and the test for one needs an open decoder.
class BufStreamDecoder {
 public:
  /// `abort`: what its `done` is told at the end.
  explicit BufStreamDecoder(int32_t abort) : abortAtEnd(abort) {}
  ~BufStreamDecoder() { close(); }
  BufStreamDecoder(const BufStreamDecoder&) = delete;
  BufStreamDecoder& operator=(const BufStreamDecoder&) = delete;

  /// Takes a decoder over, in place of the one before. False for null.
  bool open(bufstream_tt* made);
  void close();
  explicit operator bool() const { return stream != nullptr; }

  uint32_t send(uint32_t code, uint32_t value = 0, void* data = nullptr, uint32_t size = 0) {
    return stream->auxinfo(stream, value, code, data, size);
  }
  /// Sends a setting unless it is negative.
  void sendSetting(uint32_t code, int value) {
    if (value >= 0) send(code, static_cast<uint32_t>(value));
  }
  /// The record that a command answers with; the library's, or null.
  template <typename Record>
  Record* ask(uint32_t code) {
    Record* record = nullptr;
    send(code, 0, &record, sizeof record);
    return record;
  }

  /// Bytes taken. An empty feed is the nudge at the end of a stream.
  uint32_t feed(uint8_t* bytes, uint32_t len) { return stream->copybytes(stream, bytes, len); }
  /// Feeds whole bytes, as far as the decoder takes them.
  void feedAll(std::span<uint8_t> bytes);

 private:
  bufstream_tt* stream = nullptr;
  int32_t abortAtEnd;
};

}  // namespace qvs
