// What the fake card hands out: pictures with timecode and blanking lines.
#include "fakes/decklink/CardFrames.h"

#include <algorithm>
#include <map>

#include "fakes/support/FaultScript.h"

namespace qvs::fakes::card {
namespace {

class CardTimecode final : public CardObject<Timecode> {
 public:
  CardTimecode(uint64_t number, uint64_t rate)
      : CardObject("timecode"),
        number(number),
        part{static_cast<uint8_t>(number / rate / 3600 % 24), static_cast<uint8_t>(number / rate / 60 % 60),
             static_cast<uint8_t>(number / rate % 60), static_cast<uint8_t>(number % rate)} {}
  uint32_t GetBCD() override {
    uint32_t bcd = 0;
    for (const uint8_t value : part) bcd = bcd << 8 | static_cast<uint32_t>(value / 10) << 4 | value % 10;
    return bcd;
  }
  Status GetComponents(uint8_t* hours, uint8_t* minutes, uint8_t* seconds, uint8_t* frames) override {
    QVS_CARD_CALL("GetComponents");
    *hours = part[0];
    *minutes = part[1];
    *seconds = part[2];
    *frames = part[3];
    return 0;
  }
  Status GetString(const char** text) override { return giveText("", text); }
  uint32_t GetFlags() override { return 2; }
  Status GetTimecodeUserBits(uint32_t* bits) override {
    QVS_CARD_CALL("GetTimecodeUserBits");
    *bits = static_cast<uint32_t>(0xAB000000u | number);
    return 0;
  }

 private:
  const uint64_t number;
  const uint8_t part[4];
};

class CardAncillary final : public CardObject<VideoFrameAncillary> {
 public:
  explicit CardAncillary(const CardMoment& moment) : CardObject("ancillary"), moment(moment) {}
  Status GetBufferForVerticalBlankingLine(uint32_t line, void** buffer) override {
    QVS_CARD_CALL("GetBufferForVerticalBlankingLine");
    auto& bytes = lines[line];
    if (bytes.empty()) bytes = moment.blanking.line(*moment.mode, moment.number, line);
    *buffer = bytes.data();
    return 0;
  }
  uint32_t GetPixelFormat() override { return codeOf("v210"); }
  uint32_t GetDisplayMode() override { return codeOf(moment.mode->code); }

 private:
  const CardMoment moment;
  std::map<uint32_t, std::vector<uint8_t>> lines;
};

}  // namespace

std::vector<uint8_t> CardMemory::take() {
  const std::lock_guard hold(lock);
  ++held;
  std::vector<uint8_t> bytes;
  if (!spare.empty()) {
    bytes = std::move(spare.back());
    spare.pop_back();
  }
  return bytes;
}

void CardMemory::give(std::vector<uint8_t> bytes) {
  {
    const std::lock_guard hold(lock);
    --held;
    spare.push_back(std::move(bytes));
  }
  returned.notify_all();
}

CardFrame::CardFrame(const CardMoment& what, std::shared_ptr<CardMemory> from)
    : CardObject("frame"), moment(what), memory(std::move(from)), bytes(memory->take()) {
  CardPicture().paint(*moment.mode, moment.format, moment.number, bytes);
  // Without a signal there is rubbish in a card's memory.
  if (!moment.signal) std::fill(bytes.begin(), bytes.end(), uint8_t{0});
}

CardFrame::~CardFrame() {
  memory->give(std::move(bytes));
}

Status CardFrame::QueryInterface(Identifier id, void** object) {
  if (!isSame(id, VideoFrame::kId)) return CardObject::QueryInterface(id, object);
  *object = static_cast<VideoFrame*>(this);
  AddRef();
  return 0;
}

Status CardFrame::GetBytes(void** buffer) {
  QVS_CARD_CALL("GetBytes");
  *buffer = bytes.data();
  return 0;
}

Status CardFrame::GetTimecode(uint32_t format, Timecode** timecode) {
  QVS_CARD_CALL("GetTimecode");
  *timecode = nullptr;
  const bool sd = moment.mode->height < 600;
  const bool there = sd ? format == codeOf("vitc") : format == codeOf("rpv1") || format == codeOf("rp18");
  if (!there || !moment.signal || faultScript().is("timecode", "off")) return 1;
  const auto rate = (moment.mode->scale + moment.mode->duration / 2) / moment.mode->duration;
  *timecode = new CardTimecode(moment.number, static_cast<uint64_t>(rate));
  return 0;
}

Status CardFrame::GetAncillaryData(VideoFrameAncillary** ancillary) {
  QVS_CARD_CALL("GetAncillaryData");
  *ancillary = new CardAncillary(moment);
  return 0;
}

Status CardFrame::GetStreamTime(int64_t* time, int64_t* duration, int64_t scale) {
  QVS_CARD_CALL("GetStreamTime");
  const int64_t elapsed = static_cast<int64_t>(moment.time) * moment.mode->duration;
  *time = static_cast<int64_t>(moment.baseTicks) * scale / 240000 + elapsed * scale / moment.mode->scale;
  *duration = moment.mode->duration * scale / moment.mode->scale;
  return 0;
}

}  // namespace qvs::fakes::card
