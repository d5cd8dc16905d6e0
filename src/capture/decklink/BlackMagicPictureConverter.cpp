// Pictures of a card into planar ones.
#include "capture/decklink/BlackMagicPictureConverter.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "frames/geometry/UccFormat.h"
#include "frames/VideoFrameBuffer.h"

namespace qvs {
namespace {

constexpr uint32_t kSizeMax = 16384;

/// A rectangle in a picture that is turned clockwise, as it lies in the picture of `width` x `height` that isn't.
PixelRect unturned(const PixelRect& rect, uint32_t quarters, int64_t width, int64_t height) {
  switch (quarters) {
    case 1:
      return {rect.y, height - rect.x - rect.width, rect.height, rect.width};
    case 2:
      return {width - rect.x - rect.width, height - rect.y - rect.height, rect.width, rect.height};
    case 3:
      return {width - rect.y - rect.height, rect.x, rect.height, rect.width};
    default:
      return rect;
  }
}

uint32_t orientationOf(uint32_t quarters) {
  constexpr uint32_t kOrientations[] = {0, UCC_ORIENTATION_TURN_90, UCC_ORIENTATION_TURN_180,
                                        UCC_ORIENTATION_TURN_90 | UCC_ORIENTATION_TURN_180};
  return kOrientations[quarters & 3];
}

ucc_colorimetry_t colorimetryOf(bool rec601, uint32_t range) {
  if (rec601) {
    return {COLOR_PRIMARIES_BT601_6, TRANSFER_CHARACTERISTICS_BT601_6, MATRIX_COEFFICIENTS_BT601_6, range};
  }
  return {COLOR_PRIMARIES_BT709_6, TRANSFER_CHARACTERISTICS_BT709_6, MATRIX_COEFFICIENTS_BT709_6, range};
}

}  // namespace

bool BlackMagicPictureConverter::prepare(const Picture& picture,
                                         const CaptureUtilsFrameTranslationInfo& wanted) {
  if (picture == last && wanted == translation) return false;
  last = picture;
  translation = wanted;
  videoFrameConversion.reset();
  const bool sized = picture.width >= 2 && picture.height >= 2 && picture.width <= kSizeMax &&
                     picture.height <= kSizeMax && targetWidth() >= 2 && targetHeight() >= 2 &&
                     targetWidth() <= kSizeMax && targetHeight() <= kSizeMax;
  format = sized ? findBlackMagicPixelFormat(picture.format) : nullptr;
  area = format != nullptr ? wantedArea() : PixelRect{};
  if (format != nullptr && format->uccFormat == UCC_FORMAT_UNKNOWN) {
    videoFrameConversion = DeckLinkPtr<MyDeckLinkVideoFrame>::adopt(
        new MyDeckLinkVideoFrame(picture.width, picture.height, picture.width * 2, bmdFormat8BitYUV));
  }
  return true;
}

PixelRect BlackMagicPictureConverter::wantedArea() const {
  const auto& info = translation;
  if (info.widthInt == 0 || info.heightInt == 0) return {};
  const bool lying = info.rotation % 2 != 0;
  const int64_t turnedWidth = lying ? info.heightInt : info.widthInt;
  const int64_t turnedHeight = lying ? info.widthInt : info.heightInt;
  const PixelRect cut{
      std::min<int64_t>(info.xOffset, turnedWidth), std::min<int64_t>(info.yOffset, turnedHeight),
      std::min<int64_t>(info.widthDst, turnedWidth), std::min<int64_t>(info.heightDst, turnedHeight)};
  const PixelRect upright = unturned(cut, info.rotation, info.widthInt, info.heightInt);
  // From the size that it is scaled to back to the source's own.
  const double sx = static_cast<double>(info.widthCrop) / info.widthInt;
  const double sy = static_cast<double>(info.heightCrop) / info.heightInt;
  const int64_t step = std::max(format->groupPixels, 2u);
  const auto scaled = [](int64_t value, double by) { return std::lround(static_cast<double>(value) * by); };
  PixelRect rect;
  rect.x = (info.xCrop + scaled(upright.x, sx)) / step * step;
  rect.y = (info.yCrop + scaled(upright.y, sy)) / 2 * 2;
  rect.width = std::min(scaled(upright.width, sx), last.width - rect.x) / 2 * 2;
  rect.height = std::min(scaled(upright.height, sy), last.height - rect.y) / 2 * 2;
  return rect.x < 0 || rect.y < 0 ? PixelRect{} : rect;
}

bool BlackMagicPictureConverter::convert(IDeckLinkVideoFrame& frame, IDeckLinkVideoConversion* driver,
                                         VideoFrameBuffer& target) {
  if (!isSupported()) return false;
  if (!ucc) ucc.reset(UCC_Create(0));
  if (!ucc) return false;
  if (!videoFrameConversion) return transform(frame, *format, target);
  if (driver == nullptr || driver->ConvertFrame(&frame, videoFrameConversion.get()) != S_OK) return false;
  return transform(*videoFrameConversion.get(), *findBlackMagicPixelFormat(bmdFormat8BitYUV), target);
}

bool BlackMagicPictureConverter::transform(IDeckLinkVideoFrame& frame, const BlackMagicPixelFormat& layout,
                                           VideoFrameBuffer& target) {
  void* bytes = nullptr;
  const long rowBytes = frame.GetRowBytes();
  if (rowBytes < static_cast<long>(layout.rowBytes(last.width)) || rowBytes > INT32_MAX / 2) return false;
  if (frame.GetBytes(&bytes) != S_OK || bytes == nullptr) return false;
  ucc_frame_t source{}, planes{};
  source.pixel_format = layout.uccFormat;
  source.width = static_cast<uint32_t>(area.width);
  source.height = static_cast<uint32_t>(area.height);
  source.progressive_frame_flag = last.progressive ? 1 : 0;
  source.bottom_field_first_flag = last.topFieldFirst ? 0 : 1;
  source.stride[0] = static_cast<int32_t>(rowBytes);
  source.plane[0] =
      static_cast<uint8_t*>(bytes) + rowBytes * area.y + area.x / layout.groupPixels * layout.groupBytes;
  const PixelRect whole{0, 0, target.getWidth(), target.getHeight()};
  if (uccViewOfRect(&planes, target.getFrame(), whole) == 0) return false;
  // Levels of YUV pass as they are; RGB becomes YUV with the levels that YUV has on the wire.
  planes.colorimetry = colorimetryOf(last.rec601, PIC_SIGNAL_RANGE_SHORT);
  source.colorimetry =
      colorimetryOf(last.rec601, layout.rgbRange != 0 ? layout.rgbRange : uint32_t{PIC_SIGNAL_RANGE_SHORT});
  planes.progressive_frame_flag = 1;
  ucc_config_t config{};
  config.orientation = orientationOf(translation.rotation);
  config.deinterlacing_method_idc = last.progressive || !last.deinterlace
                                        ? UCC_DEINTERLACING_NONE
                                        : UCC_DEINTERLACING_INTERFIELD_INTERPOLATION;
  return UCC_Transform(ucc.get(), &planes, &source, &config) == 0;
}

}  // namespace qvs
