#pragma once

#include <vpx/vpx_decoder.h>

#include <cstdint>
#include <span>
#include <vector>

namespace qvs::test {

/// One decoded picture with rows packed, planes Y, U, V; empty when the packet gives none.
struct DecodedPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> planes[3];
};

/// What libvpx itself makes of a stream, packet by packet.
class DirectDecoder {
 public:
  explicit DirectDecoder(uint32_t codecVersion);
  ~DirectDecoder() { vpx_codec_destroy(&codec); }
  DirectDecoder(const DirectDecoder&) = delete;
  DirectDecoder& operator=(const DirectDecoder&) = delete;

  /// Of odd sizes chroma is cut to the rounded-down half, as frames of the library hold it.
  DecodedPicture decode(std::span<const uint8_t> packet);

  /// Whether the last picture was 4:2:0 with 8 bits, the one form that frames of the library take.
  bool isLastPlain420() const { return lastPlain420; }

 private:
  vpx_codec_ctx_t codec{};
  bool lastPlain420 = false;
};

}  // namespace qvs::test
