// Bytes as what an SDI card hands over: pictures and sound of any size, layout and flags, whether they make sense or
// not. The frames that come out must have the size that was asked for, times that never go back, and nothing may be read
// beyond the card's memory, which ends where its rows do.

#include <algorithm>
#include <cstdlib>

#include "capture/decklink/BlackMagicNotificationCallback.h"
#include "capture/HandMadeFrame.h"
#include "FuzzInput.h"
#include "log/LogCollector.h"

namespace {

using namespace qvs;

void check(bool ok) {
  if (!ok) std::abort();
}

constexpr BMDPixelFormat kFormats[] = {bmdFormat10BitYUV, bmdFormat8BitYUV,  bmdFormat10BitRGB,
                                       bmdFormat8BitARGB, bmdFormat8BitBGRA, bmdFormat12BitRGB,
                                       0x12345678};

/// Mostly small numbers, now and then any.
long sizeFrom(fuzz::FuzzInput& input) {
  const auto kind = input.take<uint8_t>();
  return kind < 240 ? kind : static_cast<long>(static_cast<int32_t>(input.take<uint32_t>()));
}

test::HandMadeFrame* frameFrom(fuzz::FuzzInput& input) {
  auto* const frame = new test::HandMadeFrame;
  frame->format = kFormats[input.below(std::size(kFormats))];
  frame->width = sizeFrom(input);
  frame->height = sizeFrom(input);
  frame->rowBytes = sizeFrom(input) * (input.take<uint8_t>() % 17);
  frame->flags = input.take<uint32_t>();
  frame->time = static_cast<int64_t>(input.take<uint64_t>() >> (input.take<uint8_t>() % 64));
  const bool sound =
      frame->rowBytes > 0 && frame->rowBytes < 1 << 16 && frame->height > 0 && frame->height < 300;
  if (sound) frame->bytes.assign(static_cast<size_t>(frame->rowBytes * frame->height), input.take<uint8_t>());
  frame->bytes.shrink_to_fit();
  if (!sound) frame->height = std::min(frame->height, 0L);  // a card has the memory that it says it has
  return frame;
}

test::HandMadeSound* soundFrom(fuzz::FuzzInput& input, uint32_t channels) {
  auto* const packet = new test::HandMadeSound;
  packet->samples = sizeFrom(input);
  packet->time = static_cast<int64_t>(input.take<uint64_t>() >> (input.take<uint8_t>() % 64));
  if (packet->samples > 0 && packet->samples < 1000) {
    packet->bytes.assign(static_cast<size_t>(packet->samples) * channels * 2, input.take<uint8_t>());
  } else {
    packet->samples = std::min(packet->samples, 0L);
  }
  return packet;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzInput input(data, size);
  LogCollector log;
  BlackMagicCaptureState device;
  device.setLogger(&log);
  device.setFileSourceDirectory("/nowhere");
  CaptureFrameSink& sink = *device.getFrameSink(device.addFrameSink(kCaptureVideo, 0, nullptr));
  CaptureDeviceCaptureTargetVideoData target;
  target.width = input.take<uint8_t>();
  target.height = input.take<uint8_t>();
  target.sizeFlags = input.take<uint8_t>();
  for (uint32_t& value : target.crop) value = input.take<uint8_t>();
  target.frameRotation = input.take<uint8_t>() / 40.0;
  target.frameCropAspectRatioWidth = input.take<uint8_t>();
  target.frameCropAspectRatioHeight = input.take<uint8_t>();
  target.frameAspectRatioMethod = input.take<uint8_t>() % 3;
  target.keyFrameInterval = input.take<uint16_t>();
  device.setCaptureTargetVideo(target);
  device.setEmptyFrameWidth(input.take<uint8_t>());
  device.setEmptyFrameHeight(input.take<uint8_t>());
  device.changeSessionInfo([&](CaptureSessionInfoData& info) {
    info.videoFrameRateEnum = input.take<uint16_t>();
    info.videoFrameRateDen = input.take<uint16_t>();
    info.audioTimescale = info.audioSampleRate = 48000;
    info.videoProgressive = input.take<uint8_t>() & 1;
  });
  const uint32_t channels = input.below(17);
  auto callback =
      DeckLinkPtr<BlackMagicNotificationCallback>::adopt(new BlackMagicNotificationCallback(device, {}));
  callback->setAudioCapture(channels, 2, 48000);
  device.setAudioChannelMap({input.take<uint8_t>(), input.take<uint8_t>()});
  for (int i = 0; i < 6 && !input.empty(); ++i) {
    BlackMagicVideoInputFrameArrivedFrame arrived;
    const auto what = input.take<uint8_t>();
    if ((what & 1) != 0) arrived.videoFrame = DeckLinkPtr<IDeckLinkVideoInputFrame>::adopt(frameFrom(input));
    if ((what & 2) != 0)
      arrived.audioPacket = DeckLinkPtr<IDeckLinkAudioInputPacket>::adopt(soundFrom(input, channels));
    arrived.currTime = 1700000000000 + input.take<uint16_t>();
    callback->VideoInputFrameArrivedDoWork(arrived);
  }
  uint64_t last = 0;
  while (CaptureFrame* const frame = sink.getCaptureFrame()) {
    VideoFrameBuffer& picture = *frame->getVideoFrameBuffer();
    check(picture.getWidth() >= 2 && picture.getWidth() % 2 == 0 && picture.getHeight() % 2 == 0);
    check(picture.getTimecode() >= last && picture.getTimecode() < uint64_t{1} << 50);
    last = picture.getTimecode();
    sink.releaseCaptureFrame(frame);
  }
  callback->close();
  return 0;
}
