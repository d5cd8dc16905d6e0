// libvpx, called directly.

#include "support/DirectDecoder.h"

#include <vpx/vp8dx.h>
#include <vpx/vpx_decoder.h>

#include <stdexcept>

namespace qvs::test {
namespace {

void require(vpx_codec_err_t result, const char* what) {
  if (result != VPX_CODEC_OK) throw std::runtime_error(what);
}

}  // namespace

DirectDecoder::DirectDecoder(uint32_t codecVersion) {
  require(vpx_codec_dec_init(&codec, codecVersion == 9 ? vpx_codec_vp9_dx() : vpx_codec_vp8_dx(), nullptr, 0),
          "decoder");
}

DecodedPicture DirectDecoder::decode(std::span<const uint8_t> packet) {
  DecodedPicture picture;
  vpx_codec_decode(&codec, packet.data(), static_cast<unsigned>(packet.size()), nullptr, 0);
  vpx_codec_iter_t iterator = nullptr;
  const auto* image = vpx_codec_get_frame(&codec, &iterator);
  if (!image) return picture;
  picture.width = image->d_w;
  picture.height = image->d_h;
  lastPlain420 = image->fmt == VPX_IMG_FMT_I420;
  if (!lastPlain420) return picture;
  for (int plane = 0; plane < 3; ++plane) {
    const uint32_t width = plane ? image->d_w / 2 : image->d_w, height = plane ? image->d_h / 2 : image->d_h;
    for (uint32_t y = 0; y < height; ++y) {
      const uint8_t* row = image->planes[plane] + static_cast<ptrdiff_t>(y) * image->stride[plane];
      picture.bytes.insert(picture.bytes.end(), row, row + width);
    }
  }
  return picture;
}

}  // namespace qvs::test
