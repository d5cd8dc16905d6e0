// The fake card's input: sends pictures and sound as the script says.
#include "fakes/decklink/CardInput.h"

#include <chrono>
#include <utility>

#include "fakes/support/FaultScript.h"

namespace qvs::fakes::card {
namespace {

constexpr uint32_t kDetect = 1;
constexpr uint32_t kModeChanged = 1, kColorChanged = 4;
constexpr uint32_t kYuv = 1, kRgb = 2, kTenBits = 16;

class CardDisplayMode final : public CardObject<DisplayMode> {
 public:
  explicit CardDisplayMode(const CardMode& mode) : CardObject("mode"), mode(mode) {}
  Status GetName(const char** name) override {
    QVS_CARD_CALL("GetName");
    return giveText(mode.name, name);
  }
  uint32_t GetDisplayMode() override { return codeOf(mode.code); }
  long GetWidth() override { return mode.width; }
  long GetHeight() override { return mode.height; }
  Status GetFrameRate(int64_t* duration, int64_t* scale) override {
    QVS_CARD_CALL("GetFrameRate");
    *duration = mode.duration;
    *scale = mode.scale;
    return 0;
  }
  uint32_t GetFieldDominance() override { return codeOf(mode.dominance); }
  uint32_t GetFlags() override { return mode.flags; }

 private:
  const CardMode& mode;
};

class CardModeIterator final : public CardObject<DisplayModeIterator> {
 public:
  CardModeIterator() : CardObject("modes") {}
  Status Next(DisplayMode** mode) override {
    QVS_CARD_CALL("NextMode");
    *mode = nullptr;
    if (at == cardModes().size()) return 1;
    *mode = new CardDisplayMode(cardModes()[at++]);
    return 0;
  }

 private:
  size_t at = 0;
};

}  // namespace

std::atomic<uint64_t> CardInput::sent{0};

Status CardInput::DoesSupportVideoMode(uint32_t, uint32_t wanted, uint32_t, uint32_t, uint32_t,
                                       uint32_t* actual, bool* supported) {
  QVS_CARD_CALL("DoesSupportVideoMode");
  *supported = findMode(wanted) != nullptr;
  if (actual != nullptr) *actual = wanted;
  return 0;
}

Status CardInput::GetDisplayModeIterator(DisplayModeIterator** iterator) {
  QVS_CARD_CALL("GetDisplayModeIterator");
  *iterator = new CardModeIterator;
  return 0;
}

Status CardInput::EnableVideoInput(uint32_t wanted, uint32_t format, uint32_t flags) {
  QVS_CARD_CALL("EnableVideoInput");
  const std::lock_guard hold(lock);
  if (findMode(wanted) == nullptr) return kFailed;
  if (!videoOn) cardCounts().opened("video");
  videoOn = true;
  enabledMode = wanted;
  enabledFormat = format;
  videoFlags = flags;
  return 0;
}

Status CardInput::DisableVideoInput() {
  QVS_CARD_CALL("DisableVideoInput");
  const std::lock_guard hold(lock);
  if (videoOn) cardCounts().closed("video");
  videoOn = false;
  return 0;
}

Status CardInput::EnableAudioInput(uint32_t rate, uint32_t bitsPerSample, uint32_t count) {
  QVS_CARD_CALL("EnableAudioInput");
  const bool known = count == 2 || count == 8 || count == 16;
  if (rate != 48000 || !known || (bitsPerSample != 16 && bitsPerSample != 32)) return kFailed;
  const std::lock_guard hold(lock);
  if (channels == 0) cardCounts().opened("audio");
  channels = count;
  bits = bitsPerSample;
  return 0;
}

Status CardInput::DisableAudioInput() {
  QVS_CARD_CALL("DisableAudioInput");
  const std::lock_guard hold(lock);
  if (channels != 0) cardCounts().closed("audio");
  channels = 0;
  return 0;
}

Status CardInput::SetCallback(InputCallback* wanted) {
  QVS_CARD_CALL("SetCallback");
  InputCallback* before;
  {
    const std::lock_guard hold(lock);
    if (wanted != nullptr) wanted->AddRef();
    before = std::exchange(callback, wanted);
  }
  if (before != nullptr) before->Release();
  return 0;
}

InputCallback* CardInput::sharedCallback() {
  const std::lock_guard hold(lock);
  if (callback != nullptr) callback->AddRef();
  return callback;
}

Status CardInput::StartStreams() {
  QVS_CARD_CALL("StartStreams");
  paused = false;
  const std::lock_guard hold(lock);
  if (thread.joinable()) return 0;  // goes on after a pause
  cardCounts().opened("streams");
  stop = false;
  thread = std::thread([this] { run(); });
  return 0;
}

Status CardInput::StopStreams() {
  const Status answer = faultOf("StopStreams");  // what fails has stopped all the same
  std::thread ending;
  {
    const std::lock_guard hold(lock);
    if (!thread.joinable() || thread.get_id() == std::this_thread::get_id()) return kFailed;
    ending = std::move(thread);
    stop = true;
  }
  memory->wake();
  ending.join();
  cardCounts().closed("streams");
  return answer;
}

Status CardInput::PauseStreams() {
  QVS_CARD_CALL("PauseStreams");
  paused = true;
  return 0;
}

Status CardInput::FlushStreams() {
  QVS_CARD_CALL("FlushStreams");
  return 0;
}

void CardInput::tellFormat(uint32_t changed) {
  InputCallback* const to = sharedCallback();
  if (to == nullptr) return;
  auto* const shown = new CardDisplayMode(*mode);
  to->VideoInputFormatChanged(changed, shown, (rgb ? kRgb : kYuv) | kTenBits);
  shown->Release();
  to->Release();
}

void CardInput::carryOut(const CardEvent& event) {
  const bool detects = (videoFlags & kDetect) != 0;
  const auto is = [&](const char* what) { return event.what == what; };
  if (is("lost") || is("back")) signal = is("back");
  if (is("mute") || is("unmute")) muted = is("mute");
  if (is("pause")) std::this_thread::sleep_for(std::chrono::milliseconds(event.argument));
  if (is("burst")) burst = event.argument;
  if (is("skip")) {
    number += static_cast<uint64_t>(event.argument);
    time += static_cast<uint64_t>(event.argument);
  }
  if (is("splice")) spliceNow = true;
  if (is("bad")) badNow = true;
  if (is("unplug") || is("plug")) {
    unplugged = is("unplug");
    plug(!unplugged);
  }
  if (is("rgb") || is("yuv")) {
    rgb = is("rgb");
    if (detects) tellFormat(kColorChanged);
  }
  if (is("mode")) {
    baseTicks += time * static_cast<uint64_t>(mode->duration) * 240000 / static_cast<uint64_t>(mode->scale);
    time = 0;
    mode = findMode(codeOf(event.word.c_str()));
    if (detects) tellFormat(kModeChanged);
  }
}

void CardInput::deliver() {
  const CardMode* enabled;
  uint32_t format, soundChannels, soundBits;
  bool video;
  {
    const std::lock_guard hold(lock);
    enabled = findMode(enabledMode);
    format = enabledFormat;
    video = videoOn;
    soundChannels = channels;
    soundBits = bits;
  }
  const std::string forced = faultScript().text("format", "");
  if (!forced.empty()) format = forced == "ARGB" ? 32 : codeOf(forced.c_str());
  // A card that was told another mode than comes in sees nothing.
  const bool seen = signal && (!video || enabled == mode);
  CardFrame* frame = nullptr;
  if (video) {
    CardMoment moment{seen ? mode : enabled, format, number, time, baseTicks, seen, {}};
    moment.blanking.splice = spliceNow;
    moment.blanking.bad = badNow;
    frame = new CardFrame(moment, memory);
    ++sent;
  }
  const uint64_t ticks = baseTicks + (time + 1) * static_cast<uint64_t>(mode->duration) * 240000 /
                                         static_cast<uint64_t>(mode->scale);
  const uint64_t soundEnd = ticks / 5;  // 48 kHz
  CardSound* sound = nullptr;
  if (soundChannels != 0 && !muted && soundEnd > soundAt) {
    sound = new CardSound(soundAt, static_cast<uint32_t>(soundEnd - soundAt), soundChannels, soundBits,
                          number % 25 == 0);
  }
  soundAt = soundEnd;
  if (InputCallback* const to = sharedCallback()) {
    to->VideoInputFrameArrived(frame, sound);
    to->Release();
  }
  if (frame != nullptr) frame->Release();
  if (sound != nullptr) sound->Release();
  spliceNow = badNow = false;
}

void CardInput::run() {
  using Clock = std::chrono::steady_clock;
  const bool fast = faultScript().is("pace", "fast");
  const auto frames = static_cast<uint64_t>(faultScript().number("frames", INT64_MAX));
  if (std::exchange(generation, scriptGeneration.load()) != scriptGeneration) {
    events = scriptEvents();
    mode = findMode(codeOf(faultScript().text("mode", "Hp25").c_str()));
    rgb = muted = unplugged = spliceNow = badNow = false;
    signal = true;
    position = 0;
    burst = 0;
  }
  number = time = baseTicks = soundAt = 0;
  auto due = Clock::now();
  if ((videoFlags & kDetect) != 0 && enabledMode != codeOf(mode->code)) tellFormat(kModeChanged);
  for (; !stop && position < frames; ++position, ++number, ++time) {
    for (const CardEvent& event : events) {
      if (event.at == position) carryOut(event);
    }
    if (burst > 0) {
      --burst;
    } else if (fast) {
      memory->waitForClient([this] { return stop.load(); });
    }
    if (!fast) {
      std::this_thread::sleep_until(due);
      due += std::chrono::microseconds(1000000 * mode->duration / mode->scale);
    }
    if (!stop && !paused && !unplugged) deliver();
    if (fast && unplugged) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace qvs::fakes::card
