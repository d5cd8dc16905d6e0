#pragma once

#include <vector>

#include "capture/decklink/DeckLinkObject.h"

namespace qvs {

/// A picture of ours that the driver's converter writes to.
class MyDeckLinkVideoFrame final : public DeckLinkObject<IDeckLinkVideoFrame> {
 public:
  MyDeckLinkVideoFrame(uint32_t width, uint32_t height, uint32_t rowBytes, BMDPixelFormat pixelFormat)
      : width(width),
        height(height),
        rowBytes(rowBytes),
        pixelFormat(pixelFormat),
        buffer(size_t{rowBytes} * height) {}

  long GetWidth() override { return width; }
  long GetHeight() override { return height; }
  long GetRowBytes() override { return rowBytes; }
  BMDPixelFormat GetPixelFormat() override { return pixelFormat; }
  BMDFrameFlags GetFlags() override { return 0; }
  HRESULT GetBytes(void** bytes) override {
    if (bytes == nullptr) return E_POINTER;
    *bytes = buffer.data();
    return S_OK;
  }
  HRESULT GetTimecode(BMDTimecodeFormat, IDeckLinkTimecode**) override { return E_NOTIMPL; }
  HRESULT GetAncillaryData(IDeckLinkVideoFrameAncillary**) override { return E_NOTIMPL; }

 private:
  const uint32_t width;
  const uint32_t height;
  const uint32_t rowBytes;
  const BMDPixelFormat pixelFormat;
  std::vector<uint8_t> buffer;
};

}  // namespace qvs
