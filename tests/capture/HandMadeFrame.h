#pragma once

#include <DeckLinkAPI.h>

#include <cstdint>
#include <vector>

#include "capture/decklink/DeckLinkObject.h"

namespace qvs::test {

/// A card's picture of any size and flags, whether it makes sense or not; its memory has what rows and height say.
class HandMadeFrame final : public DeckLinkObject<IDeckLinkVideoInputFrame> {
 public:
  long width = 0, height = 0, rowBytes = 0;
  BMDPixelFormat format = 0;
  BMDFrameFlags flags = 0;
  BMDTimeValue time = 0;
  std::vector<uint8_t> bytes;

  long GetWidth() override { return width; }
  long GetHeight() override { return height; }
  long GetRowBytes() override { return rowBytes; }
  BMDPixelFormat GetPixelFormat() override { return format; }
  BMDFrameFlags GetFlags() override { return flags; }
  HRESULT GetBytes(void** buffer) override {
    *buffer = bytes.data();
    return S_OK;
  }
  HRESULT GetTimecode(BMDTimecodeFormat, IDeckLinkTimecode**) override { return E_FAIL; }
  HRESULT GetAncillaryData(IDeckLinkVideoFrameAncillary**) override { return E_FAIL; }
  HRESULT GetStreamTime(BMDTimeValue* frameTime, BMDTimeValue* duration, BMDTimeScale) override {
    *frameTime = time;
    *duration = 1;
    return S_OK;
  }
  HRESULT GetHardwareReferenceTimestamp(BMDTimeScale, BMDTimeValue*, BMDTimeValue*) override {
    return E_FAIL;
  }
};

class HandMadeSound final : public DeckLinkObject<IDeckLinkAudioInputPacket> {
 public:
  long samples = 0;
  BMDTimeValue time = 0;
  std::vector<uint8_t> bytes;

  long GetSampleFrameCount() override { return samples; }
  HRESULT GetBytes(void** buffer) override {
    *buffer = bytes.data();
    return S_OK;
  }
  HRESULT GetPacketTime(BMDTimeValue* packetTime, BMDTimeScale) override {
    *packetTime = time;
    return S_OK;
  }
};

}  // namespace qvs::test
