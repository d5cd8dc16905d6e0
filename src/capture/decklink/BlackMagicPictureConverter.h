#pragma once

#include <memory>

#include "bufstream/UccInstance.h"
#include "capture/CaptureUtils.h"
#include "capture/decklink/BlackMagicPixelFormat.h"
#include "capture/decklink/DeckLinkPtr.h"
#include "capture/decklink/MyDeckLinkVideoFrame.h"
#include "frames/geometry/FitPlacement.h"

namespace qvs {

/// From a card's picture to a planar one: deinterlaced, cropped, scaled and turned in one pass of the converter. One
/// thread; set up when something changes, which is the only time that memory is taken.
class BlackMagicPictureConverter {
 public:
  struct Picture {
    BMDPixelFormat format = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    bool progressive = true;
    bool topFieldFirst = true;
    bool deinterlace = true;
    bool rec601 = false;
    bool operator==(const Picture&) const = default;
  };

  /// True where this isn't what the last picture was.
  bool prepare(const Picture& picture, const CaptureUtilsFrameTranslationInfo& translation);
  /// Whether pictures as they were prepared for can be converted at all.
  bool isSupported() const { return format != nullptr && area.width >= 2 && area.height >= 2; }
  uint32_t targetWidth() const { return translation.widthDst & ~1u; }
  uint32_t targetHeight() const { return translation.heightDst & ~1u; }

  /// False, with `target` unfinished, where the card's picture can't be read or memory fails. `driver` may be null.
  bool convert(IDeckLinkVideoFrame& frame, IDeckLinkVideoConversion* driver, VideoFrameBuffer& target);

 private:
  /// The part of the source that is wanted, on whole groups of pixels.
  PixelRect wantedArea() const;
  bool transform(IDeckLinkVideoFrame& frame, const BlackMagicPixelFormat& layout, VideoFrameBuffer& target);

  Picture last;
  CaptureUtilsFrameTranslationInfo translation;
  const BlackMagicPixelFormat* format = nullptr;
  PixelRect area{};
  UccInstance ucc;
  DeckLinkPtr<MyDeckLinkVideoFrame> videoFrameConversion;
};

}  // namespace qvs
