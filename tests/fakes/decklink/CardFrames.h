#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "fakes/decklink/CardObject.h"
#include "fakes/decklink/CardPicture.h"

namespace qvs::fakes::card {

/// Picture memory of a card, and how many of its pictures a client holds.
class CardMemory {
 public:
  std::vector<uint8_t> take();
  void give(std::vector<uint8_t> bytes);
  /// Until two or fewer are held, or `stop` says so.
  template <typename Stop>
  void waitForClient(Stop stop) {
    std::unique_lock hold(lock);
    returned.wait(hold, [&] { return held <= 2 || stop(); });
  }
  void wake() { returned.notify_all(); }

 private:
  std::mutex lock;
  std::condition_variable returned;
  std::vector<std::vector<uint8_t>> spare;
  int held = 0;
};

struct CardMoment {
  const CardMode* mode = nullptr;
  uint32_t format = 0;
  uint64_t number = 0;     ///< burnt in
  uint64_t time = 0;       ///< pictures since the start, at the mode's rate
  uint64_t baseTicks = 0;  ///< 1/240000 s that had passed when the mode began
  bool signal = true;
  CardBlanking blanking;
};

class CardFrame final : public CardObject<VideoInputFrame> {
 public:
  CardFrame(const CardMoment& moment, std::shared_ptr<CardMemory> memory);
  ~CardFrame() override;
  const CardMoment& what() const { return moment; }

  Status QueryInterface(Identifier id, void** object) override;
  long GetWidth() override { return moment.mode->width; }
  long GetHeight() override { return moment.mode->height; }
  long GetRowBytes() override { return CardPicture::rowBytes(moment.format, moment.mode->width); }
  uint32_t GetPixelFormat() override { return moment.format; }
  uint32_t GetFlags() override { return moment.signal ? 0 : 1u << 31; }
  Status GetBytes(void** buffer) override;
  Status GetTimecode(uint32_t format, Timecode** timecode) override;
  Status GetAncillaryData(VideoFrameAncillary** ancillary) override;
  Status GetStreamTime(int64_t* time, int64_t* duration, int64_t scale) override;
  Status GetHardwareReferenceTimestamp(int64_t, int64_t*, int64_t*) override { return kFailed; }

 private:
  const CardMoment moment;
  const std::shared_ptr<CardMemory> memory;
  std::vector<uint8_t> bytes;
};

class CardSound final : public CardObject<AudioInputPacket> {
 public:
  CardSound(uint64_t first, uint32_t samples, uint32_t channels, uint32_t bits, bool beep)
      : CardObject("packet"), first(first), samples(samples) {
    fillSound(first, samples, channels, bits, beep, bytes);
  }
  long GetSampleFrameCount() override { return samples; }
  Status GetBytes(void** buffer) override {
    QVS_CARD_CALL("PacketGetBytes");
    *buffer = bytes.data();
    return 0;
  }
  Status GetPacketTime(int64_t* time, int64_t scale) override {
    QVS_CARD_CALL("GetPacketTime");
    *time = static_cast<int64_t>(first) * scale / 48000;
    return 0;
  }

 private:
  const uint64_t first;
  const uint32_t samples;
  std::vector<uint8_t> bytes;
};

}  // namespace qvs::fakes::card
