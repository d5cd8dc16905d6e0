// The layouts of cards' pictures that are supported.
#include "capture/decklink/BlackMagicPixelFormat.h"

#include <algorithm>
#include <iterator>

namespace qvs {

namespace {

// 10-bit RGB has the levels of video, 64 to 940.
constexpr BlackMagicPixelFormat kFormats[] = {
    {bmdFormat10BitYUV, "bmdFormat10BitYUV", UCC_FORMAT_V210, 6, 16, 0},
    {bmdFormat8BitYUV, "bmdFormat8BitYUV", UCC_FORMAT_UYVY, 2, 4, 0},
    {bmdFormat10BitRGB, "bmdFormat10BitRGB", UCC_FORMAT_R210, 1, 4, PIC_SIGNAL_RANGE_SHORT},
    {bmdFormat8BitARGB, "bmdFormat8BitARGB", UCC_FORMAT_ARGB, 1, 4, PIC_SIGNAL_RANGE_FULL},
    {bmdFormat8BitBGRA, "bmdFormat8BitBGRA", UCC_FORMAT_BGRA, 1, 4, PIC_SIGNAL_RANGE_FULL},
    {bmdFormat12BitRGB, "bmdFormat12BitRGB", UCC_FORMAT_UNKNOWN, 8, 36, 0},
};

}  // namespace

const BlackMagicPixelFormat* findBlackMagicPixelFormat(BMDPixelFormat format) {
  const auto row = std::find_if(std::begin(kFormats), std::end(kFormats),
                                [&](const auto& one) { return one.format == format; });
  return row != std::end(kFormats) ? row : nullptr;
}

}  // namespace qvs
