#pragma once

#include <vpx/vpx_decoder.h>

#include <cstdint>
#include <span>

#include "support/DecodedPicture.h"

namespace qvs::test {

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
